// What it costs to find a variable.

#include "MrvParser/Language/MrvEnvironment.h"
#include "MrvParser/Language/MrvOMScope.h"

#include <benchmark/benchmark.h>

#include <memory>
#include <string>

using namespace Mrv;

namespace
{
// Reads a variable of the outermost of several scopes, which holds a hundred others, from the innermost one.
void scopeLookup(benchmark::State &state)
{
	const std::shared_ptr<OMScope> outermost = OMScope::factory();
	for (int i = 0; i < 100; i++)
	{
		outermost->getEnvironment().create(Name("other" + std::to_string(i)));
	}
	const Name name("wanted");
	outermost->getEnvironment().create(name);
	std::shared_ptr<OMScope> scope = outermost;
	for (int64_t depth = 1; depth < state.range(0); depth++)
	{
		scope = OMScope::factory(scope);
		scope->getEnvironment().create(Name("own"));
	}

	uint32_t guess = 0;
	for (auto _ : state)
	{
		const Environment::Variable variable = scope->getEnvironment().find(name, guess);
		if (variable.found != Environment::Found::YES)
		{
			state.SkipWithError("the variable was not found");
			break;
		}
		benchmark::DoNotOptimize(variable.place);
	}
}
BENCHMARK(scopeLookup)->Arg(1)->Arg(4)->Arg(16);
}
