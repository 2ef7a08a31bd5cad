#include "MrvParser/Language/MrvOMScope.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvParser/Language/MrvEvaluation.h"

namespace Mrv
{
namespace
{
uint64_t sLastScriptFileId = 0;
}

std::shared_ptr<OMScope> OMScope::factory(const std::shared_ptr<OMScope> &parentScope)
{
	return std::shared_ptr<OMScope>(new OMScope(parentScope));
}

OMScope::OMScope(const std::shared_ptr<OMScope> &parentScope)
    : OMStored(Value::emptyMap()),
      fEnvironment(makeRef<Environment>(*this, parentScope ? &parentScope->getEnvironment() : nullptr)),
      fParentScope(parentScope)
{
}

OMScope::OMScope(Environment &callEnvironment) : OMStored(Value::map(callEnvironment.fMap)), fEnvironment(&callEnvironment) {}

OMScope::~OMScope()
{
	if (fEnvironment->fScope == this)
	{
		// Calls that are still suspended keep the variables.
		if (getValue().isMap())
		{
			fEnvironment->fMap = Ref<MapContainer>(getValue().map());
		}
		fEnvironment->fScope = nullptr;
	}
}

Environment &OMScope::getEnvironment()
{
	if (!getValue().isMap())
	{
		setEmptyMap();
	}
	return *fEnvironment;
}

bool OMScope::setValue(Value value)
{
	const bool isSet = OMStored::setValue(std::move(value));
	if (fEnvironment->isCall() && getValue().isMap())
	{
		fEnvironment->fMap = Ref<MapContainer>(getValue().map());
	}
	return isSet;
}

std::shared_ptr<OMScope> OMScope::getParentScope() const
{
	if (fEnvironment->isCall())
	{
		return fEnvironment->getParent()->getScope();
	}
	return fParentScope;
}

std::string OMScope::getScriptFilePath() const
{
	if (!fScriptFileStack.empty())
	{
		return fScriptFileStack.back().path;
	}
	for (const Environment *environment = fEnvironment->getParent(); environment; environment = environment->getParent())
	{
		if (environment->fScope && !environment->fScope->fScriptFileStack.empty())
		{
			return environment->fScope->fScriptFileStack.back().path;
		}
	}
	return {};
}

uint64_t OMScope::pushScriptFilePath(const std::string &scriptFilePath)
{
	fScriptFileStack.push_back({++sLastScriptFileId, scriptFilePath});
	return sLastScriptFileId;
}

void OMScope::popScriptFilePath()
{
	SANITY_CHECK_AS(!fScriptFileStack.empty(), "! fScriptFileStack.empty()", return );
	fScriptFileStack.pop_back();
}

void OMScope::removeScriptFilePath(uint64_t id)
{
	std::erase_if(fScriptFileStack, [id](const ScriptFile &file) { return file.id == id; });
}
}
