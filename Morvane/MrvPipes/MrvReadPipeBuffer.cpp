#include "MrvPipes/MrvReadPipeBuffer.h"

namespace Mrv
{
ReadPipeBuffer::Outcome ReadPipeBuffer::append(const PipePacketHeader &header, std::string_view text)
{
	if (fStringSequence == UNSET && header.packetSequence == 0)
	{
		fStringSequence = header.stringSequence;
	}
	if (fStringSequence != header.stringSequence)
	{
		fComplaint = "string sequence error";
		return Outcome::MISFIT;
	}
	if (fNextPacketSequence != header.packetSequence)
	{
		fComplaint = "packet sequence error";
		return Outcome::MISFIT;
	}
	if (text.size() > fTotalLength - fText.size())
	{
		fComplaint = "More data received than expected";
		return Outcome::TOO_MUCH;
	}
	++fNextPacketSequence;
	fText += text;
	return fText.size() == fTotalLength ? Outcome::FINISHED : Outcome::MORE;
}
}
