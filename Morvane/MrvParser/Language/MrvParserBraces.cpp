// Blocks, maps and arrays. `{` opens a map when a word or a quoted string and a `:` follow, or `}` at once; or when the first
// element is followed by a `:`. Everything else is a block.

#include "MrvParser/Language/MrvParserCharacters.h"
#include "MrvParser/Language/MrvParserMachine.h"

namespace Mrv
{
using namespace ParserCharacters;

// --- What `{` opens

void ParserMachine::onBrace(int32_t character)
{
	if (skipBlank(character))
	{
		return;
	}
	fLevel->hasBlock = false;
	fLevel->block = Value();
	fLevel->isSemicolonLast = false;
	fLevel->signature = nullptr;
	if (character == '}')
	{
		consume();
		// The first thing in a body is an empty block, anything behind it (`x = {}`) a Map.
		const bool isBlock = fLevel->type == ParseType::BODY && fLevel->operands.empty() && fLevel->prefixes.empty();
		pushOperand(isBlock ? Value() : Value::map(makeDataMap()), ParserState::OPERATOR);
	}
	else if (is(character, KEY_START) || character == '"' || character == '\'')
	{
		fStream->setBufferActive(true);
		fMarkedPosition = fStream->getPos();
		if (is(character, KEY_START))
		{
			fText.clear();
			fHasEscape = false;
			goTo(ParserState::FIRST_WORD);
		}
		else
		{
			beginString(ParserState::FIRST_STRING);
		}
	}
	else
	{
		nest(ParserPurpose::BLOCK_FIRST);
	}
}

void ParserMachine::onFirstWord(int32_t character)
{
	if (is(character, KEY))
	{
		const std::string_view bytes = fStream->buffered();
		const size_t count = countLeading(bytes, KEY);
		fText.append(bytes.substr(0, count));
		fStream->passBuffered(count);
		checkTextLength();
		return;
	}
	goTo(ParserState::FIRST_COLON);
}

void ParserMachine::onFirstString(int32_t character)
{
	if (character == InputStream::END_OF_INPUT)
	{
		giveUpFirstKey();
	}
	else if (readString(ParserState::FIRST_STRING_ESCAPE))
	{
		goTo(ParserState::FIRST_COLON);
	}
}

void ParserMachine::onFirstStringEscape(int32_t character)
{
	if (character == InputStream::END_OF_INPUT)
	{
		giveUpFirstKey();
		return;
	}
	onStringEscape(ParserState::FIRST_STRING);
}

void ParserMachine::onFirstColon(int32_t character)
{
	if (skipBlank(character))
	{
		return;
	}
	if (character != ':')
	{
		giveUpFirstKey();
		return;
	}
	fStream->setBufferActive(false);
	consume();
	beginMap();
	fLevel->key = takeKey();
	goTo(ParserState::PROPERTY_VALUE);
}

// The word was no key: it is read again, as the beginning of an expression.
void ParserMachine::giveUpFirstKey()
{
	goBackTo(fMarkedPosition);
	fStream->setBufferActive(false);
	nest(ParserPurpose::BLOCK_FIRST);
}

Ref<MapContainer> ParserMachine::makeDataMap()
{
	Ref<MapContainer> map = makeRef<MapContainer>();
	map->fIsData = true;
	return map;
}

void ParserMachine::beginMap()
{
	fLevel->map = makeRef<MapContainer>();
	fLevel->isData = true;
}

// --- Blocks

void ParserMachine::takeBlockFirst(Child &child)
{
	if (!child.hasOperand)
	{
		fLevel->isSemicolonLast = child.lastSkipped == ';';
	}
	fLevel->parts[0] = std::move(child.value);
	goTo(ParserState::BLOCK_FIRST);
}

// A `:` makes the first element the key of a map.
void ParserMachine::onBlockFirst(int32_t character)
{
	if (skipBlank(character))
	{
		return;
	}
	const Value first = std::exchange(fLevel->parts[0], Value());
	if (character != ':')
	{
		fLevel->hasBlock = first.kind() != Value::Kind::UNDEFINED;
		fLevel->block = first;
		goTo(ParserState::BLOCK);
		return;
	}
	if (first.isString())
	{
		fLevel->key = Name(first.text());
	}
	else if (!ExpressionFactory::isLValue(first))
	{
		fail("invalid property");
		return;
	}
	else
	{
		const std::string name = ExpressionFactory::getPlainName(first);
		if (name.empty())
		{
			fail("empty property name");
			return;
		}
		fLevel->key = Name(name);
	}
	consume();
	beginMap();
	goTo(ParserState::PROPERTY_VALUE);
}

void ParserMachine::onBlock(int32_t character)
{
	if (skipBlank(character))
	{
		return;
	}
	if (character == '}')
	{
		finishBlock();
	}
	else if (character == ';')
	{
		consume();
		fLevel->isSemicolonLast = true;
		goTo(ParserState::BLOCK_NEXT);
	}
	else
	{
		nestBlockElement(character == ',' ? BinOp::COMMA : BinOp::SEQUENCE);
	}
}

void ParserMachine::onBlockNext(int32_t character)
{
	if (skipBlank(character))
	{
		return;
	}
	if (character == '}')
	{
		finishBlock();
		return;
	}
	nestBlockElement(BinOp::SEQUENCE);
}

void ParserMachine::nestBlockElement(BinOp joint)
{
	fLevel->joint = joint;
	fLevel->elementPosition = fStream->getPos();
	fOperatorOffset = getOffset();
	nest(ParserPurpose::BLOCK_ELEMENT);
}

// Elements that came to nothing don't count.
void ParserMachine::takeBlockElement(Child &child)
{
	if (fStream->getPos() == fLevel->elementPosition)
	{
		fail("invalid expression in sequence");
		return;
	}
	if (child.hasOperand)
	{
		fLevel->isSemicolonLast = false;
	}
	else if (child.lastSkipped != 0)
	{
		fLevel->isSemicolonLast = child.lastSkipped == ';';
	}
	if (child.value.kind() != Value::Kind::UNDEFINED && !joinBlock(fLevel->joint, std::move(child.value)))
	{
		failInFactory("invalid expression in sequence");
		return;
	}
	goTo(ParserState::BLOCK);
}

bool ParserMachine::joinBlock(BinOp joint, Value &&element)
{
	if (!fLevel->hasBlock)
	{
		fLevel->hasBlock = true;
		fLevel->block = std::move(element);
		return true;
	}
	Value joined;
	const bool isJoined = fFactory->registerBinaryOperation(joined, joint, fLevel->block, element, getOffset());
	fLevel->block = std::move(joined);
	return isJoined;
}

// A `;` in front of the brace makes the value of the block Undefined.
void ParserMachine::finishBlock()
{
	if (fLevel->isSemicolonLast && fLevel->hasBlock && !joinBlock(BinOp::SEQUENCE, Value()))
	{
		failInFactory("invalid expression in sequence");
		return;
	}
	consume();
	const Value block = std::exchange(fLevel->block, Value());
	if (fLevel->signature)
	{
		finishFunction(block);
		return;
	}
	pushOperand(Value(block), ParserState::OPERATOR);
}

// --- Maps

void ParserMachine::onKey(int32_t character)
{
	if (skipBlank(character))
	{
		return;
	}
	if (character == '"' || character == '\'')
	{
		beginString(ParserState::KEY_STRING);
	}
	else if (character == '}')
	{
		finishMap();
	}
	else if (is(character, KEY_START))
	{
		fText.clear();
		fHasEscape = false;
		goTo(ParserState::KEY_WORD);
	}
	else
	{
		fail("invalid character while expecting attribute name");
	}
}

void ParserMachine::onKeyWord(int32_t character)
{
	if (is(character, KEY))
	{
		const std::string_view bytes = fStream->buffered();
		const size_t count = countLeading(bytes, KEY);
		fText.append(bytes.substr(0, count));
		fStream->passBuffered(count);
		checkTextLength();
		return;
	}
	if (character != ':' && !is(character, BLANK))
	{
		fail("invalid character in attribute name");
		return;
	}
	fLevel->key = takeKey();
	goTo(ParserState::KEY_COLON);
}

void ParserMachine::takePropertyValue(Child &child)
{
	fLevel->isData = fLevel->isData && ExpressionFactory::isConstant(child.value);
	fLevel->map->set(fLevel->key, std::move(child.value));
	goTo(ParserState::AFTER_PROPERTY);
}

void ParserMachine::onAfterProperty(int32_t character)
{
	if (skipBlank(character))
	{
		return;
	}
	if (character == ',')
	{
		consume();
		goTo(ParserState::KEY);
	}
	else if (character == '}')
	{
		finishMap();
	}
	else
	{
		fail("unexpected character expecting , or }");
	}
}

void ParserMachine::finishMap()
{
	consume();
	fLevel->map->fIsData = fLevel->isData;
	pushOperand(Value::map(std::exchange(fLevel->map, nullptr)), ParserState::OPERATOR);
}

// --- Arrays

void ParserMachine::onArrayElement(int32_t character)
{
	if (skipBlank(character))
	{
		return;
	}
	if (character == ']')
	{
		finishArray();
		return;
	}
	nest(ParserPurpose::ARRAY_ELEMENT);
}

void ParserMachine::takeArrayElement(Child &child)
{
	fLevel->isData = fLevel->isData && ExpressionFactory::isConstant(child.value);
	fLevel->array->fItems.push_back(std::move(child.value));
	goTo(ParserState::AFTER_ARRAY_ELEMENT);
}

void ParserMachine::onAfterArrayElement(int32_t character)
{
	if (skipBlank(character))
	{
		return;
	}
	if (character == ',')
	{
		consume();
		goTo(ParserState::ARRAY_ELEMENT);
	}
	else if (character == ']')
	{
		finishArray();
	}
	else
	{
		fail("unexpected character expecting , or ] in array");
	}
}

void ParserMachine::finishArray()
{
	consume();
	fLevel->array->fIsData = fLevel->isData;
	pushOperand(Value::array(std::exchange(fLevel->array, nullptr)), ParserState::OPERATOR);
}
}
