// `function NAME(a, b) { ... }`: the head. The body is a block (MrvParserBraces.cpp) whose level has a signature.

#include "MrvParser/Language/MrvParserCharacters.h"
#include "MrvParser/Language/MrvParserMachine.h"
#include "MrvParser/Node/MrvConversions.h"

namespace Mrv
{
using namespace ParserCharacters;

void ParserMachine::onFunction(int32_t character)
{
	if (skipBlank(character))
	{
		return;
	}
	if (is(character, IDENTIFIER_START))
	{
		goTo(ParserState::FUNCTION_NAME);
	}
	else if (character == '(')
	{
		goTo(ParserState::PARAMETER_LIST);
	}
	else
	{
		fail("expected function name or parameter list");
	}
}

void ParserMachine::onFunctionName(int32_t character)
{
	if (!is(character, IDENTIFIER))
	{
		goTo(ParserState::PARAMETER_LIST);
		return;
	}
	fText.push_back(static_cast<char>(character));
	consume();
	checkTextLength();
}

void ParserMachine::onParameterList(int32_t character)
{
	if (skipBlank(character))
	{
		return;
	}
	if (character != '(')
	{
		fail("expected '(' for parameter list");
		return;
	}
	consume();
	fLevel->signature = makeRef<FunctionSignature>();
	fLevel->signature->addParameter(fText);
	goTo(ParserState::PARAMETER);
}

void ParserMachine::onParameter(int32_t character)
{
	if (skipBlank(character))
	{
		return;
	}
	if (character == ')')
	{
		consume();
		goTo(ParserState::FUNCTION_SCOPE);
		return;
	}
	nest(ParserPurpose::PARAMETER);
}

void ParserMachine::takeParameter(Child &child)
{
	const std::string name = ExpressionFactory::getPlainName(child.value);
	if (name.empty())
	{
		const std::string word = child.hasOperand ? " (" + toString(child.value) + ")" : std::string();
		fail(("empty parameter name" + word).c_str());
		return;
	}
	fLevel->signature->addParameter(name);
	goTo(ParserState::AFTER_PARAMETER);
}

void ParserMachine::onAfterParameter(int32_t character)
{
	if (skipBlank(character))
	{
		return;
	}
	if (character == ')' || character == ',')
	{
		consume();
		goTo(character == ')' ? ParserState::FUNCTION_SCOPE : ParserState::PARAMETER);
		return;
	}
	fail("expected ')' or ',' in parameter list");
}

void ParserMachine::onFunctionBody(int32_t character)
{
	if (skipBlank(character))
	{
		return;
	}
	fLevel->hasBlock = false;
	fLevel->block = Value();
	fLevel->isSemicolonLast = false;
	if (character == '}')
	{
		consume();
		finishFunction(Value());
		return;
	}
	fLevel->joint = BinOp::SEQUENCE;
	nest(ParserPurpose::FUNCTION_BODY);
}

void ParserMachine::takeFunctionBody(Child &child)
{
	if (!child.hasOperand)
	{
		fLevel->isSemicolonLast = child.lastSkipped == ';';
	}
	fLevel->hasBlock = child.value.kind() != Value::Kind::UNDEFINED;
	fLevel->block = std::move(child.value);
	goTo(ParserState::BLOCK);
}

void ParserMachine::finishFunction(const Value &body)
{
	const Ref<FunctionSignature> signature = std::exchange(fLevel->signature, nullptr);
	Value function;
	if (!fFactory->makeFunction(function, signature, body))
	{
		failInFactory(nullptr);
		return;
	}
	fLevel->current = std::move(function);
	fLevel->isBracketed = false;
	goTo(ParserState::PRIMARY);
}
}
