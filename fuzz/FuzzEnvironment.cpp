#include "FuzzEnvironment.h"

#include "MrvLogger/MrvLogger.h"
#include "MrvObject/MrvObject.h"
#include "support/MrvTestCoordinator.h"

namespace Mrv::Fuzz
{
void prepare()
{
	static Test::TestCoordinator sCoordinator;
	Object::createMaps();
	setCurrentLogger(nullptr);
}

uint8_t Input::takeByte()
{
	if (fBytes.empty())
	{
		return 0;
	}
	const auto byte = static_cast<uint8_t>(fBytes.front());
	fBytes.remove_prefix(1);
	return byte;
}

std::string Input::takeText()
{
	const size_t end = fBytes.find('\0');
	std::string text(fBytes.substr(0, end));
	fBytes.remove_prefix(end == std::string_view::npos ? fBytes.size() : end + 1);
	return text;
}
}
