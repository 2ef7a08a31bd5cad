#pragma once

#include "MrvParser/Stream/MrvInputStream.h"
#include "MrvParser/Stream/MrvOutputStream.h"

#include <memory>
#include <optional>
#include <string>

namespace Mrv
{
// Input by lines with a prompt: it writes the prompt to a nested output, takes a line from a nested input, lets a person at a console edit
// it, with an echo, and hands the characters of the finished line on. What is written to it goes to the nested output.
class IOStreamPrompted final : public InputStream, public OutputStream
{
public:
	// The output may be empty: then there is neither prompt nor echo, and writing fails.
	IOStreamPrompted(std::shared_ptr<InputStream> nestedInputStream, std::shared_ptr<OutputStream> nestedOutputStream);

	// The texts of the whole process: for the first line of a statement and for the lines that continue it.
	static void setPromptTexts(std::string prompt, std::string continuationPrompt);
	// The same for this stream alone; nothing means the process's text.
	void setPrompt(std::optional<std::string> prompt) { fPrompt = std::move(prompt); }
	void setContinuationPrompt(std::optional<std::string> prompt) { fContinuationPrompt = std::move(prompt); }

	const std::shared_ptr<InputStream> &getNestedInputStream() const { return fNestedInputStream; }
	const std::shared_ptr<OutputStream> &getNestedOutputStream() const { return fNestedOutputStream; }

	// One edited line, its end included; the last one may have none. Empty at the end of the input.
	void readLine_yielding(Task &task, std::string &line);
	// Drops what was typed and not read yet; the next line begins with a prompt.
	void dropLine();

	bool isPrompted() const override { return true; }
	bool isConsole() const override { return fNestedInputStream && fNestedInputStream->isConsole(); }
	bool isEndOfStatement(int32_t character) const override;
	// False until the present line is used up, even when the nested input has ended.
	bool atEOF() const override { return InputStream::atEOF(); }
	// Works inside the present line only, its very end excluded (and in what `setBufferActive` keeps).
	bool setPos(uint64_t position) override;

	// Both sides.
	bool flush() override;
	bool flushOutput() override { return flush(); }
	bool write(std::string_view text) override;
	void write_yielding(Task &task, bool &success, std::string_view text) override;

protected:
	Fetched fetch() override;
	void waitForChar_yielding(Task &task, int32_t &character) override;

private:
	static constexpr int32_t BACKSPACE = 8;
	static constexpr int32_t DELETE_KEY = 127;

	void showPrompt(int parsingNestLevel);
	bool takeCharacter(int32_t character);
	void echo(int32_t character);
	void beginLine(const std::string &line);

	static std::string &promptText();
	static std::string &continuationPromptText();

	std::shared_ptr<InputStream> fNestedInputStream;
	std::shared_ptr<OutputStream> fNestedOutputStream;
	std::optional<std::string> fPrompt;
	std::optional<std::string> fContinuationPrompt;
	std::string fTypedLine;      // so far
	bool fIsPromptShown = false; // for this line
	bool fIsInputEnded = false;  // the nested one
};
}
