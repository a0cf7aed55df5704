// SPDX-License-Identifier: Apache-2.0
// Findings about the parameters of Content-Type and Content-Disposition.

#include <algorithm>
#include <charconv>
#include <map>
#include <set>

#include "face/findings/entity.h"
#include "face/message/tree.h"
#include "foundation/bytes/ByteSet.h"

namespace mimetree::inner::check {

namespace {

template <class Take>
void eachParamField(const Entity& e, const Take& take) {
    for (const ParamField* const field : {&e.type, &e.disposition})
        if (field->field) take(*field);
}

// RFC 2231 3: the pieces of one parameter.
struct Pieces {
    std::set<unsigned> numbers;
    std::vector<std::pair<unsigned, const char*>> repeated;
    const char* place = nullptr;
};

// The number behind the star of "name*1" or "name*1*"; false when there is none.
bool pieceOf(const std::string& name, size_t star, unsigned& number) {
    const char* const end = name.data() + name.size();
    const auto [stop, error] = std::from_chars(name.data() + star + 1, end, number);
    return error == std::errc() && (stop == end || (*stop == '*' && stop + 1 == end));
}

std::map<std::string, Pieces> piecesOf(const ParamField& field) {
    std::map<std::string, Pieces> pieces;
    for (const Param& param : field.params) {
        const size_t star = param.name.find('*');
        unsigned number = 0;
        if (star == param.name.npos || !pieceOf(param.name, star, number)) continue;
        Pieces& own = pieces[param.name.substr(0, star)];
        if (!own.place) own.place = param.place;
        if (!own.numbers.insert(number).second) own.repeated.emplace_back(number, param.place);
    }
    return pieces;
}

void tellRepeatedParams(const Entity& e, bool areBoundaries, Report& report) {
    eachParamField(e, [&](const ParamField& field) {
        std::set<std::string_view> seen;
        for (const Param& param : field.params) {
            const bool isPlain = param.name.find('*') == param.name.npos;
            if (isPlain && !seen.insert(param.name).second &&
                (param.name == "boundary") == areBoundaries)
                report(param.place, "the parameter ", Quoted(param.name), " stands once more, as ",
                       Quoted(param.written));
        }
    });
}

bool isToken(std::string_view text) {
    return !text.empty() &&
           std::all_of(text.begin(), text.end(), [](char c) { return kTokenBytes.has(c); });
}

std::string withoutBlanks(std::string_view text) {
    std::string kept(text);
    kept.erase(std::remove(kept.begin(), kept.end(), ' '), kept.end());
    return kept;
}

}  // namespace

void paramRepeated(const Entity& e, Report& report) { tellRepeatedParams(e, false, report); }
void boundaryRepeated(const Entity& e, Report& report) { tellRepeatedParams(e, true, report); }

void nameConflict(const Entity& e, Report& report) {
    const std::string_view file = view(e.part.node().m_filename);
    const std::string_view name = view(e.part.node().m_contentType.m_name);
    if (!e.disposition.field || file.empty() || name.empty()) return;
    if (withoutBlanks(file) != withoutBlanks(name))
        report(e.disposition.field->whole.data(), "the part is named ", Quoted(file),
               " in one field and ", Quoted(name), " in another");
}

void pieceMissing(const Entity& e, Report& report) {
    eachParamField(e, [&](const ParamField& field) {
        for (const auto& [name, pieces] : piecesOf(field))
            if (*pieces.numbers.rbegin() + 1 != pieces.numbers.size())
                report(pieces.place, "pieces of the parameter ", Quoted(name), " are missing");
    });
}

void pieceRepeated(const Entity& e, Report& report) {
    eachParamField(e, [&](const ParamField& field) {
        for (const auto& [name, pieces] : piecesOf(field))
            for (const auto& [number, place] : pieces.repeated)
                report(place, "the piece ", number, " of the parameter ", Quoted(name),
                       " stands once more");
    });
}

void contentTypeMalformed(const Entity& e, Report& report) {
    if (!e.type.field || isBlankText(e.type.field->value)) return;
    const std::string_view type = e.type.mainValue;
    const size_t slash = type.find('/');
    const bool isType =
        slash != type.npos && isToken(type.substr(0, slash)) && isToken(type.substr(slash + 1));
    if (!isType || !e.type.isFollowedWell)
        report(e.type.field->whole.data(), "the content type ",
               Quoted(trimmedText(e.type.field->value)), " is malformed, and was read as ",
               Quoted(e.part.type()));
}

}  // namespace mimetree::inner::check
