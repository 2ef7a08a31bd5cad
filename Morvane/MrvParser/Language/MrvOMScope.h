#pragma once

#include "MrvParser/Language/MrvEnvironment.h"
#include "MrvParser/Node/MrvOMStored.h"

#include <string>
#include <vector>

namespace Mrv
{
// How a new scope relates to the one that its factory is given.
enum class ScopeRelationType : uint32_t
{
	PARENT = 0, // the given scope is the parent
	SHARE = 1,  // the new scope works on the given scope's variables
};

// A scope: a Map whose attributes are the variables, with a parent that is asked for names that it doesn't hold. The scope of a
// call is made only when somebody asks for it as a node.
class OMScope : public OMStored
{
public:
	static std::shared_ptr<OMScope> factory(const std::shared_ptr<OMScope> &parentScope = nullptr);
	~OMScope() override;

	using OMStored::accessOMNodeReadOnlyResolved_yielding;
	using OMStored::accessOMNodeResolved_yielding;
	// Looks a name up along the chain of scopes; writes where the name is found, else here.
	void accessOMNodeResolved_yielding(const std::shared_ptr<Task> &task, bool &success, const std::shared_ptr<OMScope> &scope,
	    const ArgumentList &arguments, AccessType accessType, const std::string &attribute, std::shared_ptr<IOMNode> &omNode) override;
	void accessOMNodeReadOnlyResolved_yielding(const std::shared_ptr<Task> &task, bool &success, const std::shared_ptr<OMScope> &scope,
	    const ArgumentList &arguments, const std::string &attribute, std::shared_ptr<IOMNode> &omNode) override;

	bool setValue(Value value) override;

	std::shared_ptr<OMScope> getParentScope() const;
	// The script that is being evaluated here, else in the parent; with `\` as separator. Empty when there is none.
	std::string getScriptFilePath() const;
	// Gives the id of the entry, which takes back that very entry.
	uint64_t pushScriptFilePath(const std::string &scriptFilePath);
	void popScriptFilePath();
	void removeScriptFilePath(uint64_t id);

	// A scope that answers for itself: names are asked of it by its access operations and never looked up past it.
	virtual bool isOpaque() const { return false; }

	// The variables as running code sees them. A scope that is no Map becomes one.
	Environment &getEnvironment();

protected:
	explicit OMScope(const std::shared_ptr<OMScope> &parentScope);

private:
	friend class Environment;
	struct ScriptFile
	{
		uint64_t id;
		std::string path;
	};

	// The node of a call's environment.
	explicit OMScope(Environment &callEnvironment);

	Ref<Environment> fEnvironment;
	std::shared_ptr<OMScope> fParentScope; // of a scope that is no call's
	std::vector<ScriptFile> fScriptFileStack;
};
}
