#include "MrvParser/Language/MrvParserState.h"

#include <array>
#include <cstddef>

namespace Mrv
{
namespace
{
struct Row
{
	const char *name;
	ParserStateEnd end;
	ParserStateComments comments;
	const char *gloss;
};

constexpr std::array ROWS{
#define MRV_STATE(name, end, comments, gloss) Row{#name, ParserStateEnd::end, ParserStateComments::comments, gloss},
    MRV_PARSER_STATES(MRV_STATE)
#undef MRV_STATE
};

const Row &getRow(ParserState state)
{
	return ROWS[static_cast<size_t>(state)];
}
}

ParserStateEnd getStateEnd(ParserState state)
{
	return getRow(state).end;
}

ParserStateComments getStateComments(ParserState state)
{
	return getRow(state).comments;
}

const char *getStateName(ParserState state)
{
	return getRow(state).name;
}

const char *getStateGloss(ParserState state)
{
	return getRow(state).gloss;
}
}
