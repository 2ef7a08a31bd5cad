#pragma once

#include "MrvTask/MrvTask.h"

#include <string>

namespace Mrv
{
class IOStreamPrompted;
class OMScope;

// The read-eval-print loop over a stream (see parseAndEvalStream_yielding). One without a parent is the session of the process: its
// `exit` asks the coordinator to end.
class ParseAndEvalStreamTask final : public Task
{
public:
	// address: where the statements are run; empty: here.
	static std::shared_ptr<ParseAndEvalStreamTask> factory(
	    const std::shared_ptr<OMScope> &scope, const std::shared_ptr<IOStreamPrompted> &stream, const std::string &address = {});

	ParseAndEvalStreamTask(std::shared_ptr<OMScope> scope, const std::shared_ptr<IOStreamPrompted> &stream, std::string address);
	void exit() override;

protected:
	void timeslice() override;

private:
	std::shared_ptr<OMScope> fScope;
	std::string fAddress;
};
}
