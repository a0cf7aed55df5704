// SPDX-License-Identifier: Apache-2.0
#pragma once

// Where the program writes: standard output, with every write checked, and error lines.
// Text out of a message is hostile: what reaches a terminal has its control characters
// escaped, so that no mail moves the cursor, sets a window title or fakes a line.

#include <string>
#include <string_view>

#include "cli/output/exit_status.h"
#include "cli/terminal/pager.h"
#include "cli/terminal/screen.h"
#include "foundation/DataBuffer.h"
#include "foundation/StringBuffer.h"

std::string_view view(const StringBuffer& s);
std::string_view view(const DataBuffer& d);
std::string_view view(const char* s);  // null is empty

// Escapes control characters but for tabs, characters that reorder a line (bidi controls) and
// bytes that are not UTF-8, as \x1B or \u202E.
std::string oneLine(std::string_view text);

// The same with line breaks kept; CRLF becomes LF.
std::string manyLines(std::string_view text);

// One line on standard error, with the program's name in front: for what concerns no message.
void reportError(std::string_view message);
void reportError(std::string_view path, std::string_view reason);

enum class Colour { None, Dim, Bold, Red, Green, Yellow, Blue, Magenta, Cyan };

class Output {
public:
    // Standard output and standard error, on a screen that is as the environment has it.
    Output();

    void setScreen(const Screen& screen) { m_screen = screen; }
    const Screen& screen() const { return m_screen; }

    // What is written goes through a pager from here on, if this is a terminal.
    void usePager() { m_wantsPager = m_screen.isTerminal; }

    // Keeps what is written, on the terms of another, until it is handed on: messages that are
    // looked at side by side are told of in their order.
    static Output keeping(const Output& like) { return Output(like.m_screen); }
    void handOn(Output& to);

    void write(std::string_view text);  // exactly these bytes

    // Bytes of a message: exact in a pipe or file; on a terminal as manyLines shows them,
    // ending with a line break.
    void writeContent(std::string_view bytes);

    // The same for what the engine made of the message of that name, if memory sufficed for it.
    template <class Buffer>
    ExitStatus writeMade(const Buffer& made, std::string_view name) {
        if (made.failed()) return failed(name, "out of memory");
        writeContent(view(made));
        return kDone;
    }

    // As reportError does.
    void error(std::string_view message);
    void error(std::string_view path, std::string_view reason);
    // The same as a command's last word on a file.
    ExitStatus failed(std::string_view path, std::string_view reason);
    // Exactly these bytes on standard error.
    void writeError(std::string_view text);

    // `text` in colour where the terminal and the user want it.
    std::string coloured(Colour colour, std::string_view text) const;

    // False as soon as a write has failed; more writing is then useless.
    bool good() const { return m_error == 0; }

    // Writes out what is buffered.  A failure is reported here, once, but for a closed pipe, which
    // ends the program as silently as others.
    ExitStatus finish();

private:
    explicit Output(const Screen& screen) : m_screen(screen), m_isKept(true) {}
    bool isLeftByReader() const;

    Screen m_screen;
    Pager m_pager;
    bool m_wantsPager = false;  // starts with the first write
    bool m_isKept = false;
    std::string m_text, m_errors;  // kept
    int m_error = 0;               // errno of the first failure
};
