#pragma once

namespace Mrv
{
// Sets a variable, and restores it when the scope is left, by whatever way.
template <class T>
class Restorer
{
public:
	Restorer(T &variable, T value) : fVariable(variable), fOld(variable) { fVariable = value; }
	~Restorer() { fVariable = fOld; }
	Restorer(const Restorer &) = delete;
	Restorer &operator=(const Restorer &) = delete;

private:
	T &fVariable;
	T fOld;
};
}
