// Payloads of remote scripts and data requests. What is taken out of one can be sent again, and is read as something then.
#include "FuzzEnvironment.h"
#include "MrvParser/Node/MrvConversions.h"
#include "MrvParser/Task/MrvParseTask.h"
#include "MrvService/MrvRemotePayload.h"

#include <cstdlib>

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
	Mrv::Fuzz::prepare();
	return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
	using namespace Mrv;
	const Fuzz::Input input(data, size);
	const auto node = OMStored::undefinedFactory();
	if (!ParseTask::call(node, std::string(input.rest())))
	{
		return 0;
	}
	RemotePayload payload(node);
	RemotePayloadWriter writer;
	const RemoteExchange exchange = payload.getExchange();
	writer.add(RemoteField::CLIENT_SEQUENCE_NR, exchange.clientNumber);
	writer.add(RemoteField::CLIENT_SESSION_ID, exchange.clientSession);
	if (const auto script = payload.getScript())
	{
		writer.addText(RemoteField::SCRIPT, *script);
	}
	for (const std::string_view field : {RemoteField::DATA, RemoteField::RESULT})
	{
		std::string literal;
		const auto value = payload.takeValue(field);
		if (value && appendForTransfer(literal, *value))
		{
			writer.addLiteral(field, literal);
		}
	}
	if (!ParseTask::call(OMStored::undefinedFactory(), writer.finish()))
	{
		std::abort();
	}
	return 0;
}
