// SPDX-License-Identifier: Apache-2.0
// What the checks ask of an entity, made once for all of them.

#include "face/findings/entity.h"

#include <algorithm>

#include "face/message/tree.h"
#include "foundation/bytes/bytes.h"
#include "foundation/header/HeaderParams.h"

namespace mimetree::inner::check {

namespace {

std::string lowerCase(std::string_view text) {
    std::string lower(text);
    bytes::makeLower(lower.data(), lower.size());
    return lower;
}

ParamField paramsOf(const Field* field) {
    ParamField read;
    read.field = field;
    if (!field) return read;
    const std::string_view value = field->value;
    HeaderParams params(value.data(), static_cast<unsigned>(value.size()));
    StringBuffer mainValue;
    params.getMainValue(mainValue);
    read.mainValue = view(mainValue);
    const std::string_view rest = trimmedText(textOf(params.end(), value.data() + value.size()));
    read.isFollowedWell = rest.empty() || rest[0] == ';' || rest[0] == '(';
    while (params.nextUncopied()) {
        const WrittenValue& written = params.written();
        read.params.push_back(
            {lowerCase(view(params.name())), textOf(written.begin, written.end), params.begin()});
    }
    return read;
}

}  // namespace

const Param* ParamField::find(std::string_view name) const {
    const auto found = std::find_if(params.begin(), params.end(),
                                    [&](const Param& param) { return param.name == name; });
    return found == params.end() ? nullptr : &*found;
}

const Field* Entity::field(std::string_view name) const {
    const auto found = std::find_if(fields.begin(), fields.end(), [&](const Field& field) {
        return isSameWord(field.name, name);
    });
    return found == fields.end() ? nullptr : &*found;
}

bool Entity::isTextLeaf() const {
    return isLeaf() && part.is_text() && part.disposition() != "attachment";
}

bool Entity::isIdentity() const { return coding != "base64" && coding != "quoted-printable"; }

// The fields must stay where they are, since others point to them.
Entity makeEntity(const Origin& origin, const Part& part, std::string_view whole,
                  const HeaderPlace& place) {
    Entity e(origin, part);
    e.whole = whole;
    e.place = place;
    e.fields = fieldsOf(place.header, place.ends);
    e.type = paramsOf(e.field("Content-Type"));
    e.disposition = paramsOf(e.field("Content-Disposition"));
    if (const Field* const coding = e.field("Content-Transfer-Encoding"))
        e.coding = lowerCase(paramsOf(coding).mainValue);
    return e;
}

}  // namespace mimetree::inner::check
