#pragma once

#include "MrvParser/Language/MrvExpressionFactory.h"
#include "MrvParser/Language/MrvParseContext.h"
#include "MrvParser/Language/MrvParserLevel.h"
#include "MrvParser/Node/MrvNumberScanner.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Mrv
{
// The machine that turns characters into one expression. It stops wherever characters run out and goes on from there: all that it is
// in the middle of lies in its levels, on the heap, so that nesting costs no native stack.
//
// Operands and operators of one level collect on two stacks, which are reduced once, when the level ends.
//
// The files by concern: MrvParserMachine.cpp (characters, comments, levels), ...Operands, ...Operators, ...Reduction, ...Strings,
// ...Braces (blocks, maps, arrays), ...Functions, ...Statements.
class ParserMachine
{
public:
	// What it is waiting for.
	enum class Need : uint8_t
	{
		CHARACTERS,
		KEYWORD, // search for `getSearchedText` as a word, tell `takeSearchResult`
		TEXT,    // the same as characters
		NOTHING, // finished
	};

	// Nesting beyond it is refused: "nesting limit reached".
	static constexpr size_t MAX_DEPTH = 10000;

	ParserMachine();
	ParserMachine(const ParserMachine &) = delete;
	ParserMachine &operator=(const ParserMachine &) = delete;
	~ParserMachine();

	void begin(ParseType type, int nestLevel, const Ref<SourceText> &source);
	// Says what it reads and whom it tells. On each entry, before anything else.
	void attach(InputStream &stream, ParseContext &context)
	{
		fStream = &stream;
		fContext = &context;
	}

	// Works on what the stream has buffered, at most so many steps.
	void run(int maximalSteps);
	// Whether `run` would do something.
	bool canStep() const { return fStream->hasBuffered() || (fIsBlankPending && fComment == Comment::NONE); }
	// The stream has ended.
	void takeEnd();

	Need getNeed() const { return fNeed; }
	std::string_view getSearchedText() const { return fSearchedText; }
	// The search is not to look beyond the end of the line.
	bool doesSearchEndWithLine() const;
	void takeSearchResult(bool isFound);

	bool isSuccess() const { return fIsSuccess; }
	Value takeResult() { return std::move(fResult); }
	bool hasOperand() const { return fHasOperand; }
	// How many expressions stand open: the level that picks the prompt.
	int getOpenCount() const;
	// Drops what is left of a parse.
	void clear() noexcept;

	// Applies the waiting prefix operators, the last one first, and pushes. False with a message when one is refused, or when there
	// is no operand (an absent value).
	static bool pushOperandOnStack(
	    Value &&operand, std::vector<ParserPrefix> &prefixes, std::vector<Value> &operands, ExpressionFactory &factory);

	// Called for each change of state, with the names of the states and the number of levels. For tests and for finding faults.
	using Trace = void (*)(const char *from, const char *to, size_t depth);
	static void setTrace(Trace trace) { sTrace = trace; }

private:
	// What the parser knows of a nested expression that has ended.
	struct Child
	{
		Value value;
		bool hasOperand = false;
		bool isStatementEnd = false;
		char lastSkipped = 0;
	};

	struct Purpose
	{
		ParseType type;
		int raise;           // of the nest level
		const char *failure; // the message that is added when it fails
		void (ParserMachine::*take)(Child &child);
	};
	static const Purpose &getPurpose(ParserPurpose purpose);

	enum class Comment : uint8_t
	{
		NONE,
		SLASH,      // after a `/` that may begin one
		LINE,       // in `// ...`
		BLOCK,      // in `/* ...`
		BLOCK_STAR, // after a `*` in a block comment
	};

	// --- Steps, levels, failure (MrvParserMachine.cpp)
	void step(int32_t character);
	void stepComment(int32_t character);
	bool mayBeginComment() const;
	void dispatch(int32_t c);
	void goTo(ParserState state);
	void consume();
	void goBackTo(uint64_t position);
	void skipBlanks();
	bool skipBlank(int32_t character);
	void expect(int32_t character, int32_t expected, ParserState next, const char *failure);
	void nest(ParserPurpose purpose);
	void nestBehindBlanks(int32_t character, ParserPurpose purpose);
	void pushLevel(ParserPurpose purpose, ParseType type, int nestLevel);
	void popLevel();
	void search(Need need, std::string_view text, ParserState state);
	void fail(const char *message);
	void failInFactory(const char *message);
	uint32_t getOffset() const;
	bool isStatementLineEnd(int32_t character) const;

	// --- Operands (MrvParserOperands.cpp)
	void onOperand(int32_t character);
	void onPrefix(int32_t character, int32_t same, UnOp doubled, UnOp single);
	void onName(int32_t character);
	void onNumber(int32_t character);
	void onAfterKeyword(int32_t character);
	void onPrimary(int32_t character);
	void onArgument(int32_t character);
	void onAfterArgument(int32_t character);
	void onMemberDot(int32_t character);
	void onParenthesesEnd(int32_t character);
	void onMemberName(int32_t character);
	void beginPrefix(UnOp unOp);
	void beginNumber();
	bool takeShortNumber();
	void takeKeyword(Token token);
	bool takeKeywordOperand(Token token, ParserState next);
	void takeVar();
	static bool isCondition(ParserPurpose purpose);
	void pushOperand(Value &&operand, ParserState next);
	void pushPrimary(ParserState next);
	void finishCall();
	void takeParenthesized(Child &child);
	void takeArgument(Child &child);
	void takeIndexValue(Child &child);

	// --- Operators (MrvParserOperators.cpp)
	void onOperator(int32_t character);
	void onOperatorBlank(int32_t character);
	bool endsCondition(int32_t character);
	void beginLink(int32_t character);
	void beginOperator(ParserState next);
	void pushOperator(BinOp binOp, ParserState next);
	void onAfterSign(int32_t character, int32_t same, UnOp doubled, BinOp single);
	void onCompound(int32_t character);
	void onSecondCharacter(int32_t character, int32_t second, BinOp both, ParserState bothNext, BinOp single);
	void onAfterAssign(int32_t character);
	void onAfterNot(int32_t character);
	void onAfterLess(int32_t character);
	void onConditionDot(int32_t character);
	bool isWithinClosedCondition() const;
	bool popOperand(Value &operand);
	void takeComma();
	void takeSemicolon();
	void takeTernaryFirst(Child &child);
	void takeTernarySecond(Child &child);

	// --- The end of a level (MrvParserReduction.cpp)
	enum class LevelEnd : uint8_t
	{
		SKIP_BLANKS,
		STATEMENT_ENDED,
	};
	void endLevel(LevelEnd end);
	void onLevelEnd(int32_t character);
	void finishLevel();
	bool reduce(Value &result);
	bool reduceLeftToRight(BinOp binOp);
	bool reduceRightToLeft(BinOp binOp);
	bool combine(Value &result, const ParserOperator &binaryOperator, const Value &left, const Value &right);

	// --- Strings (MrvParserStrings.cpp)
	void beginString(ParserState state);
	void onString(ParserState escape);
	void onStringEscape(ParserState string);
	bool readString(ParserState escape);
	void finishString();
	Name takeKey();
	void onHeredoc(int32_t character);
	void onHeredocNameStart(int32_t character);
	void onHeredocName(int32_t character);
	void onHeredocRest(int32_t character);
	void onHeredocAfterCR(int32_t character);
	void onHeredocBody(int32_t character);
	bool checkTextLength();

	// --- Blocks, maps and arrays (MrvParserBraces.cpp)
	void onBrace(int32_t character);
	void onFirstWord(int32_t character);
	void onFirstString(int32_t character);
	void onFirstStringEscape(int32_t character);
	void onFirstColon(int32_t character);
	void giveUpFirstKey();
	void beginMap();
	void onBlockFirst(int32_t character);
	void onBlock(int32_t character);
	void onBlockNext(int32_t character);
	void nestBlockElement(BinOp joint);
	bool joinBlock(BinOp joint, Value &&element);
	static Ref<MapContainer> makeDataMap();
	void finishBlock();
	void onKey(int32_t character);
	void onKeyWord(int32_t character);
	void onAfterProperty(int32_t character);
	void finishMap();
	void onArrayElement(int32_t character);
	void onAfterArrayElement(int32_t character);
	void finishArray();
	void takeBlockFirst(Child &child);
	void takeBlockElement(Child &child);
	void takePropertyValue(Child &child);
	void takeArrayElement(Child &child);

	// --- Functions (MrvParserFunctions.cpp)
	void onFunction(int32_t character);
	void onFunctionName(int32_t character);
	void onParameterList(int32_t character);
	void onParameter(int32_t character);
	void onAfterParameter(int32_t character);
	void onFunctionBody(int32_t character);
	void finishFunction(const Value &body);
	void takeParameter(Child &child);
	void takeFunctionBody(Child &child);

	// --- Statements (MrvParserStatements.cpp)
	void onCondition(int32_t character, ParserPurpose purpose);
	void onDoBodyEnd(int32_t character);
	void onForClause(int32_t character, int32_t end, ParserPurpose purpose);
	void onForClauseEnd(int32_t character, int32_t end, ParserPurpose purpose);
	void finishIf(const Child *elseBranch);
	void finishStatement(Value &&value, const Child *last);
	void takeIfCondition(Child &child);
	void takeIfBranch(Child &child);
	void takeElseBranch(Child &child);
	void takeWhileCondition(Child &child);
	void takeWhileBranch(Child &child);
	void takeDoBody(Child &child);
	void takeDoCondition(Child &child);
	void takeForInitialization(Child &child);
	void takeForCondition(Child &child);
	void takeForIteration(Child &child);
	void takeForBody(Child &child);
	void takeReturnValue(Child &child);

	static Trace sTrace;

	InputStream *fStream = nullptr;
	ParseContext *fContext = nullptr;
	ParserLevel *fLevel = nullptr;                     // the innermost
	std::vector<std::unique_ptr<ParserLevel>> fLevels; // those behind fDepth are spare
	size_t fDepth = 0;

	Need fNeed = Need::NOTHING;
	Comment fComment = Comment::NONE;
	bool fIsBlankPending = false; // a comment was passed, which counts as a blank
	bool fIsSlashKnown = false;   // the next character is a `/` that begins no comment
	char fQuote = 0;              // that ends the string
	bool fHasEscape = false;      // in the text
	bool fIsSuccess = false;
	bool fHasOperand = false;
	uint32_t fOperatorOffset = 0;
	uint64_t fMarkedPosition = 0; // that may be gone back to
	std::string fText;            // of the name, string or key that is being read
	std::string fHeredocName;
	size_t fHeredocLineStart = 0; // in the text
	NumberScanner fNumber{NumberScanner::AUTO};
	std::string_view fSearchedText;
	std::string fFactoryMessage;
	std::optional<ExpressionFactory> fFactory;
	Value fResult;
};
}
