// SPDX-License-Identifier: Apache-2.0
// libytnef prints, leaks and looks at memory that it never wrote to when a file is damaged.  So it
// works in a process of its own, which has bounds, says nothing and may be lost.

#include <signal.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "cli/message/tnef.h"
#include "foundation/DataBuffer.h"
#include "foundation/EncodingConvert.h"
#include "foundation/LogNull.h"
#include "foundation/bytes/utf8.h"
#include "foundation/charset/code_pages.h"

extern "C" {
#include <fcntl.h>
#include <ytnef.h>
}

namespace codepage = mimetree::inner::codepage;
namespace utf8 = mimetree::inner::utf8;

namespace {

// Limit: what such a process may take.
constexpr unsigned kSeconds = 10;
constexpr rlim_t kMemory = rlim_t(512) << 20;

// In front of each file; then come its name and its bytes.
struct Head {
    uint32_t codePage;
    uint32_t nameSize;
    uint64_t size;
};

// -- In the process of its own.

void restrain() {
    const int nowhere = open("/dev/null", O_RDWR);
    for (int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) dup2(nowhere, fd);
    signal(SIGALRM, SIG_DFL);
    alarm(kSeconds);
    unsigned long pages = 0;  // that there are already, many of them under a sanitizer
    if (FILE* file = std::fopen("/proc/self/statm", "r")) {
        if (std::fscanf(file, "%lu", &pages) != 1) pages = 0;
        std::fclose(file);
    }
    const rlim_t most = pages * static_cast<rlim_t>(sysconf(_SC_PAGESIZE)) + kMemory;
    const rlimit memory{most, most}, none{0, 0};
    setrlimit(RLIMIT_AS, &memory);
    setrlimit(RLIMIT_CORE, &none);
    for (int fault : {SIGSEGV, SIGBUS, SIGABRT, SIGFPE, SIGILL}) signal(fault, SIG_DFL);
}

void sendBytes(int to, const void* bytes, size_t size) {
    const char* at = static_cast<const char*>(bytes);
    while (size > 0) {
        const ssize_t sent = write(to, at, size);
        if (sent < 0 && errno == EINTR) continue;
        if (sent <= 0) _exit(EXIT_FAILURE);
        at += sent;
        size -= static_cast<size_t>(sent);
    }
}

bool isFilled(const variableLength* value) {
    return value != MAPI_UNDEFINED && value && value->data && value->size > 0;
}

// Up to the NUL behind it.
std::string_view textOf(const variableLength* value) {
    if (!isFilled(value)) return {};
    const char* text = reinterpret_cast<const char*>(value->data);
    return {text, strnlen(text, static_cast<size_t>(value->size))};
}

std::string_view nameOf(Attachment& file) {
    constexpr DWORD kLongName = 0x3707;  // PR_ATTACH_LONG_FILENAME
    for (DWORD tag : {PROP_TAG(PT_UNICODE, kLongName), PROP_TAG(PT_STRING8, kLongName)})
        if (const std::string_view name = textOf(MAPIFindProperty(&file.MAPI, tag)); !name.empty())
            return name;
    return textOf(&file.Title);
}

// Of an object, such as a message, what stands for it.
std::string_view bytesOf(Attachment& file) {
    constexpr DWORD kObject = 0x3701;  // PR_ATTACH_DATA_OBJ
    for (const variableLength* value : {static_cast<const variableLength*>(&file.FileData),
                                        static_cast<const variableLength*>(MAPIFindProperty(
                                            &file.MAPI, PROP_TAG(PT_OBJECT, kObject))),
                                        static_cast<const variableLength*>(MAPIFindProperty(
                                            &file.MAPI, PROP_TAG(PT_BINARY, kObject)))})
        if (isFilled(value))
            return {reinterpret_cast<const char*>(value->data), static_cast<size_t>(value->size)};
    return {};
}

void sendFile(int to, uint32_t codePage, Attachment& file) {
    const std::string_view name = nameOf(file), bytes = bytesOf(file);
    if (bytes.empty()) return;
    const Head head{codePage, static_cast<uint32_t>(name.size()), bytes.size()};
    sendBytes(to, &head, sizeof head);
    sendBytes(to, name.data(), name.size());
    sendBytes(to, bytes.data(), bytes.size());
}

[[noreturn]] void work(std::string_view container, int to) {
    restrain();
    std::string copy(container);
    TNEFStruct tnef;
    std::memset(&tnef, 0, sizeof tnef);
    TNEFInitialize(&tnef);
    TNEFParseMemory(reinterpret_cast<BYTE*>(copy.data()), static_cast<long>(copy.size()), &tnef);
    uint32_t codePage = 0;
    if (tnef.CodePage.data && tnef.CodePage.size >= static_cast<int>(sizeof codePage))
        std::memcpy(&codePage, tnef.CodePage.data, sizeof codePage);
    for (Attachment* file = tnef.starting_attach.next; file; file = file->next)
        sendFile(to, codePage, *file);
    _exit(EXIT_SUCCESS);
}

// -- In ours.

// Limit: no more than could have stood in the container.
std::string receiveAll(int from, size_t most) {
    std::string all;
    char piece[1 << 16];
    while (all.size() < most) {
        const ssize_t got = read(from, piece, sizeof piece);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) break;
        all.append(piece, static_cast<size_t>(got));
    }
    return all;
}

std::string answerOf(std::string_view container) {
    int pipes[2];
    if (pipe2(pipes, O_CLOEXEC) != 0) return {};
    const pid_t child = fork();
    if (child == 0) work(container, pipes[1]);
    close(pipes[1]);
    std::string answer;
    if (child > 0) answer = receiveAll(pipes[0], container.size() * 2 + (1 << 16));
    close(pipes[0]);
    if (child <= 0) return {};
    kill(child, SIGKILL);
    while (waitpid(child, nullptr, 0) < 0 && errno == EINTR) continue;
    return answer;
}

bool isUtf8(std::string_view text) {
    return utf8::validPrefix(reinterpret_cast<const unsigned char*>(text.data()), text.size()) ==
           text.size();
}

std::string inUtf8(std::string_view name, int codePage) {
    if (isUtf8(name)) return std::string(name);
    DataBuffer text;
    LogNull log;
    const bool isKnown = EncodingConvert::isKnown(codePage);
    EncodingConvert::EncConvert(isKnown ? codePage : codepage::kWindows1252, codepage::kUtf8,
                                reinterpret_cast<const unsigned char*>(name.data()),
                                static_cast<unsigned>(name.size()), text, log);
    return {reinterpret_cast<const char*>(text.getData2()), text.getSize()};
}

}  // namespace

std::string_view tnefLibrary() { return "libytnef"; }

std::vector<TnefFile> tnefFiles(std::string_view container) {
    std::vector<TnefFile> files;
    const std::string answer = answerOf(container);
    std::string_view rest = answer;
    Head head;
    while (rest.size() >= sizeof head) {
        std::memcpy(&head, rest.data(), sizeof head);
        rest.remove_prefix(sizeof head);
        if (head.nameSize > rest.size() || head.size > rest.size() - head.nameSize) break;
        files.push_back({inUtf8(rest.substr(0, head.nameSize), static_cast<int>(head.codePage)),
                         std::string(rest.substr(head.nameSize, head.size))});
        rest.remove_prefix(head.nameSize + head.size);
    }
    return files;
}
