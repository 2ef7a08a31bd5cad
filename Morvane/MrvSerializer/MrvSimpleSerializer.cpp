#include "MrvSerializer/MrvSimpleSerializer.h"

#include "MrvLogger/MrvChecks.h"
#include "MrvUtils/MrvWireEscape.h"

#include <istream>
#include <ostream>
#include <utility>

namespace Mrv
{
const std::string SimpleSerializer::TYPENAME = "SimpleSerializer";

std::shared_ptr<IObject> SimpleSerializer::factory()
{
	std::shared_ptr<SimpleSerializer> retVal(new SimpleSerializer, &SimpleSerializer::deleter);
	SANITY_CHECK(retVal->registerObjectID(retVal), return nullptr);
	return retVal;
}

void SimpleSerializer::deleter(SimpleSerializer *serializer)
{
	Object::deleter(serializer);
	delete serializer;
}

bool SimpleSerializer::registerDeregisterClass(RegisterDeregister registerDeregister)
{
	return registerDeregister == RegisterDeregister::REGISTER ? registerFactory(TYPENAME, &factory, FactoryUse::FOREIGN_TEXT)
	                                                          : deregisterFactory(TYPENAME);
}

bool SimpleSerializer::startSerialize(std::ostream *stream)
{
	SANITY_CHECK_AS(stream, "pOutputStream", return false);
	SANITY_CHECK_AS(!fpOutputStream, "! fpOutputStream", return false);
	fpOutputStream = stream;
	return true;
}

bool SimpleSerializer::endSerialize()
{
	SANITY_CHECK(fpOutputStream, return false);
	fpOutputStream = nullptr;
	return true;
}

bool SimpleSerializer::putGUID(GUIDClass *guid)
{
	if (!putString(guid ? guid->toSectionedString() : std::string()))
	{
		LOG_ERROR("failed to write guid");
		return false;
	}
	return true;
}

bool SimpleSerializer::putString(const std::string &text)
{
	if (!putLine(text, &WireEscape::ofItems()))
	{
		LOG_ERROR("failed to write str");
		return false;
	}
	return true;
}

bool SimpleSerializer::putRawString(const std::string &text)
{
	return putLine(text, nullptr);
}

bool SimpleSerializer::putLine(const std::string &text, const WireEscape *escape)
{
	SANITY_CHECK(fpOutputStream, return false);
	std::streambuf *const buffer = fpOutputStream->rdbuf();
	const auto size = static_cast<std::streamsize>(text.size());
	const bool isWritten = fpOutputStream->good() && (escape ? escape->write(*buffer, text) : buffer->sputn(text.data(), size) == size);
	return isWritten && buffer->sputc('\n') == '\n';
}

bool SimpleSerializer::startDeserialize(std::istream *stream)
{
	SANITY_CHECK_AS(stream, "pInputStream", return false);
	SANITY_CHECK_AS(!fpInputStream, "! fpInputStream", return false);
	fpInputStream = stream;
	fLookAhead.clear();
	fIsLineComplete = false;
	return true;
}

bool SimpleSerializer::endDeserialize()
{
	SANITY_CHECK(fpInputStream, return false);
	const bool isAtEnd = atEnd();
	fpInputStream = nullptr;
	fLookAhead.clear();
	fIsLineComplete = false;
	if (!isAtEnd)
	{
		LOG_ERROR("not at inputStream.eof()");
	}
	return isAtEnd;
}

GUIDClass *SimpleSerializer::getGUID()
{
	// Other text would be interned for ever, and stands for nothing.
	return GUIDClass::factoryIfValid(getString());
}

std::string SimpleSerializer::getString()
{
	std::string text = getRawString();
	if (text.find('\\') != std::string::npos)
	{
		text = WireEscape::ofItems().unescape(std::move(text));
	}
	return text;
}

std::string SimpleSerializer::getRawString()
{
	if (!isStringAvailable())
	{
		return {};
	}
	fIsLineComplete = false;
	return std::exchange(fLookAhead, std::string());
}

bool SimpleSerializer::isStringAvailable()
{
	SANITY_CHECK(fpInputStream, return false);
	if (!fIsLineComplete)
	{
		std::string piece;
		std::getline(*fpInputStream, piece);
		// At the end of the stream the line has no line feed yet; more of it may come.
		fIsLineComplete = !fpInputStream->eof() && !fpInputStream->fail();
		if (fLookAhead.empty())
		{
			fLookAhead = std::move(piece);
		}
		else
		{
			fLookAhead += piece;
		}
		if (!fIsLineComplete)
		{
			fpInputStream->clear();
		}
	}
	return fIsLineComplete;
}

bool SimpleSerializer::atEnd()
{
	SANITY_CHECK(fpInputStream, return true);
	return !fIsLineComplete && fpInputStream->rdbuf()->sgetc() == std::char_traits<char>::eof();
}
}
