#include "JsonParsers.h"

#include "MrvCoordinator/MrvInternalCoordinator.h"
#include "MrvParser/Language/MrvParser.h"
#include "MrvParser/Stream/MrvInputStreamString.h"
#include "MrvTask/MrvOperationTask.h"

namespace Mrv::Bench
{

namespace
{

/** What was parsed, and the coordinator that every task needs; the coordinator goes last. */
class Document
{
public:
	Document() : fIsReady(InternalCoordinator::init(0, nullptr)) {}
	Document(const Document &) = delete;
	Document &operator=(const Document &) = delete;
	~Document()
	{
		fValue = Value();
		InternalCoordinator::release();
	}

	/** Runs the parse as a task of its own to its end. False when the text is refused. */
	bool parse(const std::string &text)
	{
		// As for any script, the stream keeps its own copy of the text: that counts in time and memory.
		InputStreamString stream{std::string_view(text)};
		ParseContext context("text");
		const auto task = OperationTask::factory(
		    [&](Task &running, bool &success) { Parser::parseExpressionList_yielding(running, success, fValue, stream, context); });
		const bool isParsed = fIsReady && task && task->runToCompletion() && task->isSuccess();
		Parser::writeError(context);
		return isParsed;
	}

private:
	const bool fIsReady;
	Value fValue;
};

} // namespace

std::shared_ptr<void> parseWithMorvane(const std::string &text)
{
	auto document = std::make_shared<Document>();
	return document->parse(text) ? document : nullptr;
}

} // namespace Mrv::Bench
