#include "genapi/description_parser.h"

#include "base/endian.h"
#include "base/text.h"
#include "genapi/node_reader.h"
#include "genapi/reference_check.h"
#include "genapi/zip_reader.h"

#include <pugixml.hpp>

#include <algorithm>

namespace genapi
{

namespace
{

// Thirty times what real descriptions have: the parser takes 64 bytes for each.
constexpr std::ptrdiff_t kMaxTags = 1000000;

// Text is kept with its element, which saves a node for each.
constexpr unsigned kParse =
    pugi::parse_cdata | pugi::parse_escapes | pugi::parse_eol | pugi::parse_embed_pcdata;

/// The text alone: cameras save what a program said before, and register memory behind the document
/// reads as zeros.
std::string_view withoutPadding(std::string_view text)
{
    const std::size_t first = text.find('<');
    const std::size_t last = text.find_last_not_of(std::string_view("\0 \t\r\n", 5));
    if (first == std::string_view::npos || last < first)
        return {};
    return text.substr(first, last - first + 1);
}

/// True for a document of two-byte characters, which begins with its mark or with `<`.
bool isUtf16(std::string_view text, bool* isBig)
{
    const std::string_view begin = text.substr(0, 2);
    *isBig = begin == "\xFE\xFF" || begin == std::string_view("\0<", 2);
    return *isBig || begin == "\xFF\xFE" || begin == std::string_view("<\0", 2);
}

/// Descriptions hold no characters beyond 16 bits; halves of such are marked as unknown.
std::string fromUtf16(std::string_view text, bool isBig)
{
    std::string result;
    result.reserve(text.size());
    for (std::size_t i = 0; i + 1 < text.size(); i += 2) {
        const char* const at = text.data() + i;
        std::uint32_t code =
            isBig ? base::loadBig<std::uint16_t>(at) : base::loadLittle<std::uint16_t>(at);
        if (code >= 0xD800 && code < 0xE000)
            code = 0xFFFD;
        if (code >= 0x800) {
            result += static_cast<char>(0xE0U | code >> 12U);
            result += static_cast<char>(0x80U | (code >> 6U & 0x3FU));
        } else if (code >= 0x80) {
            result += static_cast<char>(0xC0U | code >> 6U);
        }
        result += static_cast<char>(code < 0x80 ? code : 0x80U | (code & 0x3FU));
    }
    return result;
}

bool hasDocumentType(std::string_view text)
{
    constexpr std::string_view kBegin = "<!DOCTYPE";
    // Far rarer than the bracket before it.
    for (std::size_t at = text.find('!'); at != std::string_view::npos;
         at = text.find('!', at + 1)) {
        if (at > 0 && text.substr(at - 1, kBegin.size()) == kBegin)
            return true;
    }
    return false;
}

/// Makes UTF-8 XML of the document; `text` is the part of it that counts.
ZelCamErr readText(std::string* document, std::string_view* text, std::string* why)
{
    if (document->size() > kMaxDocumentSize) {
        *why = "the document is too large";
        return ZelErr::kParamTree;
    }
    if (isZip(*document)) {
        std::string unpacked;
        if (unzip(*document, &unpacked) != ZelErr::kOk) {
            *why = "the zip archive is broken";
            return ZelErr::kParamTree;
        }
        *document = std::move(unpacked);
    }
    bool isBig = false;
    if (isUtf16(*document, &isBig))
        *document = fromUtf16(*document, isBig);
    *text = withoutPadding(*document);
    // Characters of old cameras are Latin-1 whatever they declare.
    if (!base::isValidUtf8(*text)) {
        *document = base::toUtf8(*text);
        *text = *document;
    }
    if (text->size() > kMaxTags && std::count(text->begin(), text->end(), '<') > kMaxTags) {
        *why = "there are too many elements";
        return ZelErr::kParamTree;
    }
    // Entities exist only to be abused; no camera's description has a document type.
    if (!hasDocumentType(*text) && !text->empty())
        return ZelErr::kOk;
    *why = "the text is not well-formed XML";
    return ZelErr::kParamTree;
}

} // namespace

std::string lineAt(std::string document, std::ptrdiff_t place)
{
    std::string_view text;
    std::string why;
    if (readText(&document, &text, &why) != ZelErr::kOk || place < 0 ||
        static_cast<std::size_t>(place) > text.size())
        return {};
    return "line " + std::to_string(1 + std::count(text.begin(), text.begin() + place, '\n')) +
           ": ";
}

ZelCamErr parseDescription(std::string document, Description* description, std::string* why,
                           std::ptrdiff_t* place)
{
    *place = -1;
    std::string_view text;
    if (const ZelCamErr result = readText(&document, &text, why); result != ZelErr::kOk)
        return result;
    Description made;
    pugi::xml_document xml;
    // The parser ends names and texts where they stand: what it says are views of the document.
    const pugi::xml_parse_result parsed =
        xml.load_buffer_inplace(document.data() + (text.data() - document.data()), text.size(),
                                kParse, pugi::encoding_utf8);
    if (parsed.status == pugi::status_out_of_memory) {
        *why = "there is no memory for the description";
        return ZelErr::kGenTLOutOfMemory;
    }
    const pugi::xml_node root = xml.document_element();
    if (!parsed || !root) {
        *place = parsed.offset;
        *why = "the text is not well-formed XML";
        return ZelErr::kParamTree;
    }
    if (std::string_view(root.name()) != "RegisterDescription") {
        *why = "the root element is not RegisterDescription";
        return ZelErr::kParamTree;
    }
    NodeReader reader(&made);
    if (!reader.read(root)) {
        *place = reader.place();
        *why = reader.why();
        return ZelErr::kParamTree;
    }
    if (!checkReferences(&made, why))
        return ZelErr::kParamTree;
    made.links.shrink_to_fit();
    made.nodes.shrink_to_fit();
    made.keepTexts();
    *description = std::move(made);
    return ZelErr::kOk;
}

} // namespace genapi
