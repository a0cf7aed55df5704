// SPDX-License-Identifier: Apache-2.0

#include "cli/input/arguments.h"

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

}  // namespace

void addMessages(CLI::App& app, CommonOptions& common) {
    addFiles(app, common, "messages; directories stand for all files below, - for stdin");
}

void addFile(CLI::App& app, CommonOptions& common, const char* what) {
    addFiles(app, common, what)->expected(1);
}

void addCharset(CLI::App& app, std::string& charset, const char* what) {
    app.add_option("--charset", charset, what)->type_name("NAME")->check(notAKnownCharset);
}
