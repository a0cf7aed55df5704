// SPDX-License-Identifier: Apache-2.0
// Command `convert`: a message with other transfer codings, another charset or fewer parts,
// the header fields of every part in step with its body.  Parts go first, then the charset is
// changed, then the codings.  What a signature or encryption covers is left alone.

#include <strings.h>

#include <algorithm>
#include <memory>
#include <new>
#include <unordered_map>

#include "cli/commands/table.h"
#include "cli/input/arguments.h"
#include "cli/input/messages.h"
#include "cli/message/nodes.h"
#include "face/builder/leaf_charset.h"
#include "face/builder/leaves.h"
#include "face/builder/wire.h"
#include "foundation/header/HeaderWriter.h"

using namespace mimetree::inner;

namespace {

struct ConvertOptions {
    bool to7bit = false;
    bool to8bit = false;
    std::string charset;  // empty: no change
    bool removeAttachments = false;
    std::vector<std::string> only;  // "text/plain", "text/*"; empty: all
};

// Limit: messages within messages are converted by recursion.
constexpr int kMaxMessageDepth = 50;

bool beginsWith(std::string_view text, std::string_view prefix) {
    return text.size() >= prefix.size() &&
           strncasecmp(text.data(), prefix.data(), prefix.size()) == 0;
}

bool isSame(std::string_view a, std::string_view b) {
    return a.size() == b.size() && beginsWith(a, b);
}

bool fits(std::string_view type, std::string_view pattern) {
    if (!pattern.ends_with("/*")) return isSame(type, pattern);
    return pattern == "*/*" || beginsWith(type, pattern.substr(0, pattern.size() - 1));
}

void setBody(MimeMessage2& leaf, const DataBuffer& body, LogBase& log) {
    if (body.failed()) throw std::bad_alloc();
    leaf.setMimeBodyBinary2(body.getData2(), body.getSize(), log);
}

std::string_view withoutBlanks(std::string_view line) {
    return line.substr(0, line.find_last_not_of(" \t") + 1);
}

std::string_view boundaryOf(const MimeMessage2& part) {
    return withoutBlanks(view(part.m_contentType.m_boundary));
}

// The lines of a source that hold a delimiter and blanks alone, by boundary.  One walk over the
// source finds those of all boundaries that are asked for.
class DelimiterLines {
public:
    static constexpr size_t kNone = std::string_view::npos;
    enum class Kind { Opens, Closes };

    void askFor(std::string_view boundary) { m_lines.try_emplace(std::string(boundary)); }

    void find(std::string_view source) {
        for (size_t at = 0; at < source.size();) {
            const size_t end = std::min(source.find_first_of("\r\n", at), source.size());
            const std::string_view line = withoutBlanks(source.substr(at, end - at));
            if (line.starts_with("--")) note(line.substr(2), at);
            at = end + 1;
        }
    }

    // The first that does not begin in front of `at`.
    size_t next(std::string_view boundary, Kind kind, size_t at) const {
        const auto known = m_lines.find(std::string(boundary));
        if (known == m_lines.end() || at == kNone) return kNone;
        const Places& places = kind == Kind::Opens ? known->second.opens : known->second.closes;
        const auto place = std::lower_bound(places.begin(), places.end(), at);
        return place == places.end() ? kNone : *place;
    }

private:
    using Places = std::vector<uint32_t>;
    struct Lines {
        Places opens, closes;
    };

    void note(std::string_view text, size_t at) {
        const auto place = static_cast<uint32_t>(at);
        const auto add = [&](std::string_view boundary, Places Lines::*places) {
            const auto asked = m_lines.find(std::string(boundary));
            if (asked != m_lines.end()) (asked->second.*places).push_back(place);
        };
        add(text, &Lines::opens);
        if (text.ends_with("--")) add(text.substr(0, text.size() - 2), &Lines::closes);
    }

    std::unordered_map<std::string, Lines> m_lines;
};

struct Source {
    const std::string& path;
    std::string_view text;
    Output& out;
};

class Converter {
public:
    Converter(const Source& source, MimeMessage2& root, const ConvertOptions& options, LogBase& log,
              int depth = 0)
        : m_source(source), m_root(root), m_log(log), m_options(options), m_depth(depth) {}

    void run();

private:
    void keepSealed();
    void keepText(size_t index, const DelimiterLines& lines, size_t& at);
    bool isTextOf(const MimeMessage2& part, const DataBuffer& text) const;
    void tell(size_t index, const std::string& what) const;
    void findNodes();
    const MimeMessage2* parentOf(size_t index) const {
        const int parent = m_nodes[index].parent;
        return parent < 0 ? nullptr : m_nodes[static_cast<size_t>(parent)].message;
    }
    bool isInsideSealed(size_t index) const {
        const int parent = m_nodes[index].parent;
        return parent >= 0 && m_isSealed[static_cast<size_t>(parent)];
    }
    bool isUnwanted(size_t index) const;
    void removeParts();
    void convertLeaf(size_t index);
    void toCharset(size_t index);
    void to7bit(MimeMessage2& leaf);
    void attachedTo7bit(size_t index);
    void headerTo7bit(size_t index);
    void to8bit(size_t index);
    void label8bit(size_t index);

    const Source& m_source;
    MimeMessage2& m_root;
    LogBase& m_log;
    const ConvertOptions& m_options;
    const int m_depth;
    std::vector<Node> m_nodes;
    std::vector<bool> m_isSealed;  // of each node: signed or encrypted, or inside of such
    bool m_hasSealed = false;
};

void Converter::tell(size_t index, const std::string& what) const {
    const std::string number = partNumber(m_nodes, index);
    m_source.out.error(m_source.path, number.empty() ? what : "part " + number + ": " + what);
}

void Converter::findNodes() {
    m_nodes = nodesOf(m_root);
    m_isSealed.assign(m_nodes.size(), false);
    for (size_t i = 0; i < m_nodes.size(); ++i)
        m_isSealed[i] = isInsideSealed(i) || isSealed(*m_nodes[i].message);
}

void Converter::run() {
    findNodes();
    keepSealed();
    findNodes();
    if (m_options.removeAttachments || !m_options.only.empty()) removeParts();
    findNodes();
    for (size_t i = 0; i < m_nodes.size(); ++i) {
        MimeMessage2& part = *m_nodes[i].message;
        if (m_options.to7bit && !isInsideSealed(i)) headerTo7bit(i);
        if (m_isSealed[i]) continue;
        if (part.getNumParts() == 0) convertLeaf(i);
        else if (m_options.to7bit && !m_hasSealed && is8bit(part))
            part.setContentEncoding("7bit", m_log);
    }
}

// -- Signed and encrypted parts

void Converter::keepSealed() {
    DelimiterLines lines;
    const auto isOutermost = [&](size_t i) { return m_isSealed[i] && !isInsideSealed(i); };
    for (size_t i = 0; i < m_nodes.size(); ++i) {
        if (!isOutermost(i)) continue;
        m_hasSealed = true;
        lines.askFor(boundaryOf(*m_nodes[i].message));
        if (const MimeMessage2* const parent = parentOf(i)) lines.askFor(boundaryOf(*parent));
    }
    if (m_hasSealed) lines.find(m_source.text);
    size_t at = 0;
    for (size_t i = 0; i < m_nodes.size(); ++i) {
        if (!isOutermost(i)) continue;
        tell(i, "signed or encrypted, left as it is");
        if (!m_nodes[i].message->isMultipartSigned(m_log)) keepText(i, lines, at);
    }
}

// The engine keeps the signed text of S/MIME.  For others (RFC 3156) the parts give way to
// their text as it was read, from the first delimiter to the last.
// Limit: each text is tried for one part only, and not when a delimiter of the multipart
// around it stands within; messages of many parts that are never closed would make trying
// them all quadratic.
void Converter::keepText(size_t index, const DelimiterLines& lines, size_t& at) {
    using Kind = DelimiterLines::Kind;
    MimeMessage2& part = *m_nodes[index].message;
    const std::string_view boundary = boundaryOf(part);
    const size_t begin = lines.next(boundary, Kind::Opens, at);
    const size_t last = lines.next(boundary, Kind::Closes, begin);
    if (boundary.empty() || isEncoded(part) || last == DelimiterLines::kNone) return;
    if (const MimeMessage2* const parent = parentOf(index)) {
        const std::string_view outer = boundaryOf(*parent);
        if (lines.next(outer, Kind::Opens, begin + 1) < last ||
            lines.next(outer, Kind::Closes, begin) < last)
            return;
    }
    at = last;
    const std::string_view text = m_source.text.substr(begin, last - begin + boundary.size() + 4);
    DataBuffer kept;
    kept.append(text.data(), static_cast<unsigned>(text.size()));
    kept.appendStr("\r\n");
    if (!isTextOf(part, kept)) return;
    part.removeSubparts();
    part.m_charset.clear();
    setBody(part, kept, m_log);
}

// A delimiter may occur elsewhere, too: the text must give the very parts.
bool Converter::isTextOf(const MimeMessage2& part, const DataBuffer& text) const {
    StringBuffer header;
    part.getMimeHeader(header, m_log);
    DataBuffer whole, own, other;
    whole.append(header);
    whole.appendStr("\r\n\r\n");
    whole.append(text);
    MimeMessage2 loaded;
    if (whole.failed() || !loaded.loadMimeCompleteDb(whole, m_log)) return false;
    part.getMimeTextDb(own, /*bodyOnly*/ true, m_log);
    loaded.getMimeTextDb(other, /*bodyOnly*/ true, m_log);
    return !own.failed() && own.equals(other);
}

// -- Parts

bool Converter::isUnwanted(size_t index) const {
    const MimeMessage2& leaf = *m_nodes[index].message;
    const std::string_view own = typeOf(leaf, parentOf(index));
    if (m_options.removeAttachments && leaf.isAttachment(m_log)) return true;
    const auto fitsLeaf = [&](const std::string& type) { return fits(own, type); };
    return !m_options.only.empty() &&
           std::none_of(m_options.only.begin(), m_options.only.end(), fitsLeaf);
}

// Closes the gaps that parts have left.
void closeGaps(MimeMessage2& parent) {
    ExtPtrArray kept;
    for (int i = 0; i < parent.m_subParts.getSize(); ++i) {
        VantrelObject* const part = parent.m_subParts.elementAt(i);
        if (!part) continue;
        if (!kept.appendPtr(part)) throw std::bad_alloc();
        parent.m_subParts.setAt(i, nullptr);
    }
    parent.m_subParts.swap(kept);
}

// Last part first: what is below a node, and behind it, has gone when its turn comes.
void Converter::removeParts() {
    std::vector<bool> hadParts(m_nodes.size(), false);
    for (size_t i = m_nodes.size(); i-- > 0;) {
        const auto& [part, parent, depth, number] = m_nodes[i];
        if (parent >= 0) hadParts[static_cast<size_t>(parent)] = true;
        if (hadParts[i]) closeGaps(*part);
        const bool isGone = hadParts[i] ? part->getNumParts() == 0 : isUnwanted(i);
        if (m_isSealed[i] || !isGone) continue;
        if (parent < 0) {
            makeEmptyText(*part);
            continue;
        }
        m_nodes[static_cast<size_t>(parent)].message->m_subParts.setAt(number - 1, nullptr);
        VantrelObject::deleteObject(part);
    }
}

// -- Charset

void Converter::convertLeaf(size_t index) {
    MimeMessage2& leaf = *m_nodes[index].message;
    if (leaf.isMultipart()) {
        // RFC 2045 6.4: damaged as it is, a multipart may not be encoded.
        if (m_options.to7bit && !leaf.getMimeBodyDb().is7bit())
            tell(index, "8-bit multipart without parts, left as it is");
        return;
    }
    const bool isTextLeaf = isText(leaf, parentOf(index)), was8bit = is8bit(leaf);
    if (isTextLeaf) nameCharset(leaf, m_log);
    if (!m_options.charset.empty() && isTextLeaf) toCharset(index);
    if (m_options.to7bit && isSame(typeOf(leaf, parentOf(index)), "message/rfc822"))
        attachedTo7bit(index);
    else if (m_options.to7bit) to7bit(leaf);
    if (m_options.to8bit && isTextLeaf && isEncoded(leaf)) to8bit(index);
    if (is8bit(leaf) && !was8bit) label8bit(index);
}

void Converter::toCharset(size_t index) {
    _zqCharset charset;
    charset.setByName(m_options.charset.c_str());
    switch (recode(*m_nodes[index].message, charset, m_log)) {
        case Recoded::Done: return;
        case Recoded::AsUtf8:
            return tell(index, m_options.charset + " cannot hold this text, made utf-8");
        case Recoded::Unknown: return tell(index, "in no charset that is known, left as it is");
    }
}

// -- Codings

// convert8Bit changes the coding in which the body is written, setContentEncoding the field.
void Converter::to7bit(MimeMessage2& leaf) {
    if (isEncoded(leaf)) return;
    if (!factsOf(view(wireBytes(leaf, m_log))).is7bit) leaf.setContentEncoding("8bit", m_log);
    leaf.convert8Bit(m_log);
    if (!isEncoded(leaf)) return;
    const StringBuffer coding(leaf.m_contentTransferEncoding);
    leaf.setContentEncoding(coding.getString(), m_log);
}

// RFC 2046 5.2.1: an attached message has no coding of its own; its parts have.
void Converter::attachedTo7bit(size_t index) {
    MimeMessage2& leaf = *m_nodes[index].message;
    DataBuffer bytes = wireBytes(leaf, m_log);
    if (isEncoded(leaf)) return;
    if (!factsOf(view(bytes)).is7bit) {
        MimeMessage2 attached;
        if (m_depth == kMaxMessageDepth || !attached.loadMimeCompleteDb(bytes, m_log))
            return tell(index, "8-bit message, left as it is");
        ConvertOptions options;
        options.to7bit = true;
        const std::string path = m_source.path + " (attached message)";
        Converter({path, view(bytes), m_source.out}, attached, options, m_log, m_depth + 1).run();
        DataBuffer text;
        attached.getMimeTextDb(text, /*bodyOnly*/ false, m_log);
        setBody(leaf, text, m_log);
        if (!text.is7bit()) return;
    }
    if (!leaf.m_contentTransferEncoding.isEmpty()) leaf.setContentEncoding("7bit", m_log);
}

// RFC 2047, RFC 2231: fields with raw 8-bit text are written anew, all others stay.
void Converter::headerTo7bit(size_t index) {
    MimeMessage2& part = *m_nodes[index].message;
    StringBuffer header;
    part.getMimeHeader(header, m_log);
    if (header.is7bit(0)) return;
    header.clear();
    for (int i = 0; i < part.getNumHeaderFields(); ++i) {
        StringBuffer text, name, value;
        part.m_mimeHeader.getFieldText(i, text);
        part.getHeaderFieldName(i, name, m_log);
        part.getHeaderFieldValue(i, /*decode*/ false, value, m_log);
        if (!text.is7bit(0) && !name.isEmpty()) {
            text.clear();
            appendHeaderField(name.getString(), name.getSize(), value.getString(), value.getSize(),
                              part.getCharsetCodePage(), text);
        }
        if (!text.is7bit(0)) tell(index, "no 7-bit form for the field " + std::string(view(text)));
        if (i > 0) header.append("\r\n");
        header.append(text);
    }
    if (header.failed()) throw std::bad_alloc();
    part.m_mimeHeader.loadMimeHeaderBytes(header.getString(), header.getSize(), 65001,
                                          StringBuffer(), m_log);
}

// RFC 2045 2.8: lines of 8-bit text end with CRLF.  For a text that is read the form of its
// line ends does not count (RFC 2046 4.1.1); a file that is attached keeps its bytes.
void Converter::to8bit(size_t index) {
    MimeMessage2& leaf = *m_nodes[index].message;
    const WireFacts facts = factsOf(view(wireBytes(leaf, m_log)));
    if (!facts.fitsLines()) return;
    if (facts.hasBareBreak) {
        if (leaf.isAttachment(m_log)) return tell(index, "line ends are not CRLF, left as it is");
        StringBuffer text;
        text.append(leaf.getMimeBodyDb());
        text.allToCRLF();
        DataBuffer body;
        body.append(text);
        if (text.failed()) body.markFailed();
        setBody(leaf, body, m_log);
    }
    leaf.setContentEncoding("8bit", m_log);
}

// RFC 2045 6.4: a multipart with 8-bit parts is 8-bit itself.
void Converter::label8bit(size_t index) {
    for (int i = m_nodes[index].parent; i >= 0; i = m_nodes[static_cast<size_t>(i)].parent) {
        MimeMessage2& multipart = *m_nodes[static_cast<size_t>(i)].message;
        if (is8bit(multipart)) return;
        multipart.setContentEncoding("8bit", m_log);
    }
}

bool isEmpty(const ConvertOptions& options) {
    return !options.to7bit && !options.to8bit && options.charset.empty() &&
           !options.removeAttachments && options.only.empty();
}

ExitStatus convertMessage(const InputMessage& message, const ConvertOptions& options, Output& out) {
    DataBuffer text;
    Converter({message.name, message.bytes, out}, message.root, options, message.log).run();
    message.root.getMimeTextDb(text, /*bodyOnly*/ false, message.log);
    return out.writeMade(text, message.name);
}

ExitStatus convert(const CommonOptions& common, const ConvertOptions& options, Output& out) {
    if (isEmpty(options)) {
        out.error("nothing to convert to (see mimetree convert --help)");
        return kBadUsage;
    }
    return forOneMessage(common, out, [&](const auto& message, Output& to) {
        return convertMessage(message, options, to);
    });
}

}  // namespace

Run addConvert(CLI::App& app, CommonOptions& common) {
    const auto options = std::make_shared<ConvertOptions>();
    addMessage(app, common);
    CLI::Option* to7bit =
        app.add_flag("--to-7bit", options->to7bit, "8-bit parts in quoted-printable or base64");
    app.add_flag("--to-8bit", options->to8bit, "texts without a coding, where lines allow it")
        ->excludes(to7bit);
    addCharset(app, options->charset, "texts in this charset, or else in utf-8");
    app.add_flag("--remove-attachments", options->removeAttachments, "drop what is attached");
    app.add_option("--only", options->only, "drop all parts but of these types")
        ->type_name("TYPE")
        ->check([](const std::string& type) {
            const size_t slash = type.find('/');
            return slash != 0 && slash + 1 < type.size() && slash != std::string::npos
                       ? std::string()
                       : "\"" + type + "\" is no type like text/plain or text/*";
        });
    app.footer(
        "At least one option must say what to change; they combine.  Parts of multipart/signed\n"
        "and multipart/encrypted stay as they are.");
    return [options, &common](Output& out) { return convert(common, *options, out); };
}
