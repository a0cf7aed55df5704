// SPDX-License-Identifier: Apache-2.0

#include "cli/input/arguments.h"

#include <algorithm>
#include <map>

#include "foundation/EncodingConvert.h"
#include "foundation/_zqCharset.h"

namespace {

CLI::Option* addFiles(CLI::App& app, CommonOptions& common, const char* what) {
    return app.add_option("FILE", common.paths, what)->required()->type_name("");
}

std::string notAKnownCharset(const std::string& name) {
    _zqCharset charset;
    const bool isKnown =
        charset.setByName(name.c_str()) && EncodingConvert::isKnown(charset.getCodePage());
    return isKnown ? std::string() : "no charset \"" + name + "\"";
}

void addMboxKind(CLI::App& app, CommonOptions& common) {
    using mimetree::MboxKind;
    static const std::map<std::string, MboxKind> kKinds{{"auto", MboxKind::automatic},
                                                        {"rd", MboxKind::rd},
                                                        {"o", MboxKind::o},
                                                        {"cl", MboxKind::content_length},
                                                        {"none", MboxKind::none}};
    app.add_option_function<std::string>(
           "--mbox", [&](const std::string& name) { common.mbox = kKinds.at(name); },
           "how lines \"From \" are quoted in an mbox")
        ->type_name("KIND")
        ->check(CLI::IsMember({"auto", "rd", "o", "cl", "none"}));
}

// "1", "1.2" and so on, and "" for the whole.
std::string notAPartNumber(const std::string& text) {
    std::string_view rest = text;
    while (!rest.empty()) {
        const size_t digits = std::min(rest.find_first_not_of("0123456789"), rest.size());
        if (digits == 0 || digits + 1 == rest.size() || rest.front() == '0' ||
            (digits < rest.size() && rest[digits] != '.'))
            return "\"" + text + "\" is no part number";
        rest.remove_prefix(std::min(digits + 1, rest.size()));
    }
    return {};
}

}  // namespace

void addMessages(CLI::App& app, CommonOptions& common) {
    addFiles(app, common,
             "mails, mbox files and directories (Maildirs, MH folders, any), plain or gzip, - for "
             "stdin; archive.mbox#17 is one message");
    addMboxKind(app, common);
    app.add_option("-j,--jobs", common.jobs, "messages worked on at once; the cores when not given")
        ->type_name("N")
        ->check(CLI::Range(1, 1024));
}

void addMessage(CLI::App& app, CommonOptions& common) {
    addFiles(app, common, "a mail, plain or gzip, or archive.mbox#17; - for stdin")->expected(1);
    addMboxKind(app, common);
}

void addFile(CLI::App& app, CommonOptions& common, const char* what) {
    addFiles(app, common, what)->expected(1);
}

void addClosed(CLI::App& app, CommonOptions& common) {
    app.add_flag("--closed", common.closed, "do not look into messages within messages");
}

void addPager(CLI::App& app, CommonOptions& common) {
    app.add_flag("--no-pager", common.noPager, "write straight to the terminal");
}

CLI::Option* addPart(CLI::App& app, std::optional<std::string>& part, const char* what) {
    return app.add_option("--part", part, what)->type_name("N.N")->check(notAPartNumber);
}

void addCharset(CLI::App& app, std::string& charset, const char* what) {
    app.add_option("--charset", charset, what)->type_name("NAME")->check(notAKnownCharset);
}
