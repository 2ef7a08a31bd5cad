// Reads the grammar of ECMAScript with the standard library's understanding of it: a quantifier may follow another one, `]` and `}` stand
// for themselves outside of what they close, `\c` is followed by any character, which stands for itself.
#include "MrvUtils/MrvRegularExpressionSyntax.h"

#include <algorithm>
#include <charconv>
#include <regex>

namespace Mrv
{
namespace
{
using ByteSet = RegularExpressionSyntax::ByteSet;

template <class Predicate>
ByteSet setOf(Predicate predicate)
{
	ByteSet set;
	for (size_t byte = 0; byte < set.size(); ++byte)
	{
		set[byte] = predicate(static_cast<uint8_t>(byte));
	}
	return set;
}

bool isDigit(uint8_t byte)
{
	return byte >= '0' && byte <= '9';
}

bool isHexDigit(char byte)
{
	return isDigit(static_cast<uint8_t>(byte)) || (byte >= 'a' && byte <= 'f') || (byte >= 'A' && byte <= 'F');
}

bool isSpace(uint8_t byte)
{
	return byte == ' ' || (byte >= '\t' && byte <= '\r');
}

ByteSet single(char byte)
{
	ByteSet set;
	set[static_cast<uint8_t>(byte)] = true;
	return set;
}

char firstOf(const ByteSet &set)
{
	size_t byte = 0;
	while (!set[byte])
	{
		++byte;
	}
	return static_cast<char>(byte);
}

// The set of `\d \D \s \S \w \W`; false for another letter.
bool readClass(char letter, ByteSet &set)
{
	switch (letter)
	{
		case 'd':
		case 'D':
			set = setOf(isDigit);
			break;
		case 's':
		case 'S':
			set = setOf(isSpace);
			break;
		case 'w':
		case 'W':
			set = setOf(RegularExpressionSyntax::isWordByte);
			break;
		default:
			return false;
	}
	if (letter < 'a')
	{
		set.flip();
	}
	return true;
}

// What the named classes, `[:alpha:]` and its like, hold is the library's affair: it is asked byte by byte.
bool askLibrary(const std::string &element, ByteSet &set)
{
	try
	{
		const std::regex expression("[" + element + "]");
		set = setOf(
		    [&](uint8_t byte)
		    {
			    const auto character = static_cast<char>(byte);
			    return std::regex_match(&character, &character + 1, expression);
		    });
		return true;
	}
	catch (const std::exception &)
	{
		return false;
	}
}
}

bool RegularExpressionSyntax::isWordByte(uint8_t byte)
{
	return isDigit(byte) || byte == '_' || (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z');
}

RegularExpressionSyntax::RegularExpressionSyntax(std::string_view pattern) : fRest(pattern)
{
	if (pattern.size() > MAX_PATTERN)
	{
		fIsValid = false;
		return;
	}
	fRoot = parseAlternatives();
	fIsValid = fIsValid && isAtEnd();
}

std::optional<RegularExpressionSyntax::Literal> RegularExpressionSyntax::getLiteral() const
{
	Literal literal;
	const std::vector<size_t> own{fRoot};
	const bool isSequence = fNodes[fRoot].type == Type::SEQUENCE;
	const std::vector<size_t> &parts = isSequence ? fNodes[fRoot].children : own;
	for (size_t index = 0; index < parts.size(); ++index)
	{
		const Node &part = fNodes[parts[index]];
		if (part.type == Type::BEGIN && index == 0)
		{
			literal.isAtBegin = true;
		}
		else if (part.type == Type::END && index + 1 == parts.size())
		{
			literal.isAtEnd = true;
		}
		else if (part.type == Type::BYTES && fSets[part.set].count() == 1)
		{
			literal.text += firstOf(fSets[part.set]);
		}
		else if (part.type != Type::EMPTY)
		{
			return std::nullopt;
		}
	}
	return literal;
}

bool RegularExpressionSyntax::take(std::string_view text)
{
	if (!fRest.starts_with(text))
	{
		return false;
	}
	fRest.remove_prefix(text.size());
	return true;
}

char RegularExpressionSyntax::takeByte()
{
	const char byte = fRest.front();
	fRest.remove_prefix(1);
	return byte;
}

size_t RegularExpressionSyntax::fail()
{
	fIsValid = false;
	fRest = {};
	return NOTHING;
}

size_t RegularExpressionSyntax::addNode(Node node)
{
	fNodes.push_back(std::move(node));
	return fNodes.size() - 1;
}

size_t RegularExpressionSyntax::addSet(const ByteSet &set)
{
	const auto found = std::find(fSets.begin(), fSets.end(), set);
	const auto position = static_cast<size_t>(found - fSets.begin());
	if (found == fSets.end())
	{
		fSets.push_back(set);
	}
	return addNode(Node{Type::BYTES, position, 0, 0, {}});
}

// --- Alternatives, sequences, quantifiers

size_t RegularExpressionSyntax::parseAlternatives()
{
	std::vector<size_t> alternatives{parseSequence()};
	while (fIsValid && take("|"))
	{
		++fWrittenOutSize;
		alternatives.push_back(parseSequence());
	}
	return alternatives.size() == 1 ? alternatives.front() : addNode(Node{Type::ALTERNATIVES, 0, 0, 0, std::move(alternatives)});
}

size_t RegularExpressionSyntax::parseSequence()
{
	std::vector<size_t> terms;
	while (fIsValid)
	{
		const size_t term = parseTerm();
		if (term == NOTHING)
		{
			break;
		}
		terms.push_back(term);
	}
	return terms.size() == 1 ? terms.front() : addNode(Node{Type::SEQUENCE, 0, 0, 0, std::move(terms)});
}

size_t RegularExpressionSyntax::parseTerm()
{
	const uint64_t sizeBefore = fWrittenOutSize++;
	if (take("^"))
	{
		return addNode(Type::BEGIN);
	}
	if (take("$"))
	{
		return addNode(Type::END);
	}
	if (take("\\b"))
	{
		return addNode(Type::WORD_BOUNDARY);
	}
	if (take("\\B"))
	{
		return addNode(Type::NO_WORD_BOUNDARY);
	}
	if (take("(?=") || take("(?!"))
	{
		return parseLookAhead();
	}
	const size_t atom = parseAtom();
	return atom == NOTHING ? NOTHING : parseQuantifiers(atom, sizeBefore);
}

size_t RegularExpressionSyntax::parseQuantifiers(size_t atom, uint64_t sizeBefore)
{
	for (size_t count = 0; fIsValid && !isAtEnd(); ++count)
	{
		uint64_t minimum = 0;
		uint64_t maximum = UNLIMITED;
		if (take("?"))
		{
			maximum = 1;
		}
		else if (take("+"))
		{
			minimum = 1;
		}
		else if (take("{"))
		{
			if (!parseBraces(minimum, maximum))
			{
				return fail();
			}
		}
		else if (!take("*"))
		{
			return atom;
		}
		take("?"); // prefers few
		if (count == MAX_QUANTIFIERS)
		{
			return fail();
		}
		const uint64_t copies = std::max(maximum == UNLIMITED ? minimum : maximum, uint64_t{1});
		fWrittenOutSize = std::min(sizeBefore + (fWrittenOutSize - sizeBefore + 1) * copies, MAX_WRITTEN_OUT_SIZE);
		atom = addNode(Node{Type::REPETITION, 0, minimum, maximum, {atom}});
	}
	return atom;
}

bool RegularExpressionSyntax::parseBraces(uint64_t &minimum, uint64_t &maximum)
{
	if (!takeNumber(minimum))
	{
		return false;
	}
	maximum = minimum;
	if (take(",") && !takeNumber(maximum))
	{
		maximum = UNLIMITED;
	}
	const bool isBounded = minimum <= MAX_REPETITIONS && (maximum == UNLIMITED || (maximum <= MAX_REPETITIONS && minimum <= maximum));
	return take("}") && isBounded;
}

// More than can be told apart counts as the largest number.
bool RegularExpressionSyntax::takeNumber(uint64_t &number)
{
	size_t length = 0;
	while (length < fRest.size() && isDigit(static_cast<uint8_t>(fRest[length])))
	{
		++length;
	}
	if (length == 0)
	{
		return false;
	}
	number = UNLIMITED - 1;
	std::from_chars(fRest.data(), fRest.data() + length, number);
	fRest.remove_prefix(length);
	return true;
}

// --- Atoms

size_t RegularExpressionSyntax::parseAtom()
{
	if (isAtEnd() || std::string_view(")|*+?{").find(peek()) != std::string_view::npos)
	{
		return NOTHING;
	}
	if (take("."))
	{
		return addSet(setOf([](uint8_t byte) { return byte != '\n' && byte != '\r'; }));
	}
	if (take("("))
	{
		return parseGroup();
	}
	if (take("["))
	{
		return parseBracket();
	}
	if (take("\\"))
	{
		return parseEscape();
	}
	return addSet(single(takeByte()));
}

size_t RegularExpressionSyntax::parseGroup()
{
	const bool isCapturing = peek() != '?';
	if ((!isCapturing && !take("?:")) || fNesting == MAX_NESTING)
	{
		return fail();
	}
	if (isCapturing)
	{
		fOpenGroups.push_back(++fGroupCount);
	}
	++fNesting;
	fDeepest = std::max(fDeepest, fNesting);
	const size_t inside = parseAlternatives();
	--fNesting;
	if (isCapturing)
	{
		fOpenGroups.pop_back();
	}
	return fIsValid && take(")") ? inside : fail();
}

size_t RegularExpressionSyntax::parseLookAhead()
{
	fNeedsBacktracking = true;
	if (fNesting == MAX_NESTING)
	{
		return fail();
	}
	++fNesting;
	fDeepest = std::max(fDeepest, fNesting);
	parseAlternatives();
	--fNesting;
	return fIsValid && take(")") ? addNode(Type::EMPTY) : fail();
}

size_t RegularExpressionSyntax::parseEscape()
{
	if (isAtEnd())
	{
		return fail();
	}
	ByteSet set;
	if (readClass(peek(), set))
	{
		takeByte();
		return addSet(set);
	}
	uint64_t group = 0;
	if (peek() != '0' && takeNumber(group))
	{
		fNeedsBacktracking = true;
		const bool isClosed = group <= fGroupCount && std::find(fOpenGroups.begin(), fOpenGroups.end(), group) == fOpenGroups.end();
		return isClosed ? addNode(Type::EMPTY) : fail();
	}
	char byte = 0;
	return takeSimpleEscape(byte, false) ? addSet(single(byte)) : fail();
}

// What stands for one byte behind `\`.
bool RegularExpressionSyntax::takeSimpleEscape(char &byte, bool isInBrackets)
{
	if (isAtEnd())
	{
		return false;
	}
	byte = takeByte();
	switch (byte)
	{
		case '0':
			byte = '\0';
			return true;
		case 'b':
			byte = '\b';
			return isInBrackets;
		case 'f':
			byte = '\f';
			return true;
		case 'n':
			byte = '\n';
			return true;
		case 'r':
			byte = '\r';
			return true;
		case 't':
			byte = '\t';
			return true;
		case 'v':
			byte = '\v';
			return true;
		case 'c':
			if (isAtEnd())
			{
				return false;
			}
			byte = takeByte();
			return true;
		case 'x':
			return takeHex(2, byte);
		case 'u':
			return takeHex(4, byte);
		default:
			return byte != 'B' || !isInBrackets;
	}
}

// The low byte of the number.
bool RegularExpressionSyntax::takeHex(size_t digits, char &byte)
{
	if (fRest.size() < digits || !std::all_of(fRest.begin(), fRest.begin() + static_cast<std::ptrdiff_t>(digits), isHexDigit))
	{
		return false;
	}
	unsigned number = 0;
	std::from_chars(fRest.data(), fRest.data() + digits, number, 16);
	fRest.remove_prefix(digits);
	byte = static_cast<char>(static_cast<uint8_t>(number & 0xff));
	return true;
}

// --- Brackets

// One byte waits until it is known whether it begins a range.
size_t RegularExpressionSyntax::parseBracket()
{
	const bool isInverted = take("^");
	ByteSet set;
	Element last = Element::NONE;
	char lastByte = 0;
	const auto settle = [&]
	{
		if (last == Element::BYTE)
		{
			set |= single(lastByte);
		}
	};
	if (take("-"))
	{
		last = Element::BYTE;
		lastByte = '-';
	}
	while (!take("]"))
	{
		char byte = 0;
		Element element = takeElement(set, byte);
		if (element == Element::DASH && last != Element::NONE)
		{
			if (take("]"))
			{
				settle();
				last = Element::BYTE;
				lastByte = '-';
				break;
			}
			if (last == Element::CLASS)
			{
				return fail();
			}
			char end = 0;
			const Element endElement = takeElement(set, end);
			end = endElement == Element::DASH ? '-' : end;
			if ((endElement != Element::BYTE && endElement != Element::DASH) || lastByte > end)
			{
				return fail();
			}
			// In the order of `char`, whose upper half is negative.
			set |= setOf(
			    [lastByte, end](uint8_t candidate)
			    {
				    const auto character = static_cast<char>(candidate);
				    return lastByte <= character && character <= end;
			    });
			last = Element::NONE;
			continue;
		}
		if (element == Element::NONE)
		{
			return fail();
		}
		settle();
		last = element == Element::DASH ? Element::BYTE : element;
		lastByte = element == Element::DASH ? '-' : byte;
	}
	settle();
	return addSet(isInverted ? ~set : set);
}

RegularExpressionSyntax::Element RegularExpressionSyntax::takeElement(ByteSet &set, char &byte)
{
	if (isAtEnd() || peek() == ']')
	{
		return Element::NONE;
	}
	if (take("-"))
	{
		return Element::DASH;
	}
	if (take("\\"))
	{
		ByteSet named;
		if (!isAtEnd() && readClass(peek(), named))
		{
			takeByte();
			set |= named;
			return Element::CLASS;
		}
		const bool isBackReference = !isAtEnd() && isDigit(static_cast<uint8_t>(peek())) && peek() != '0';
		return !isBackReference && takeSimpleEscape(byte, true) ? Element::BYTE : Element::NONE;
	}
	if (fRest.size() == 1 && peek() == '[')
	{
		return Element::NONE;
	}
	if (fRest.starts_with("[:") || fRest.starts_with("[.") || fRest.starts_with("[="))
	{
		return takeNamedElement(set, byte);
	}
	byte = takeByte();
	return Element::BYTE;
}

RegularExpressionSyntax::Element RegularExpressionSyntax::takeNamedElement(ByteSet &set, char &byte)
{
	const char kind = fRest[1];
	const size_t end = fRest.find(kind, 2);
	ByteSet named;
	if (end == std::string_view::npos || end + 1 >= fRest.size() || fRest[end + 1] != ']' ||
	    !askLibrary(std::string(fRest.substr(0, end + 2)), named))
	{
		return Element::NONE;
	}
	fRest.remove_prefix(end + 2);
	if (kind == '.' && named.count() == 1)
	{
		byte = firstOf(named);
		return Element::BYTE;
	}
	set |= named;
	return Element::CLASS;
}
}
