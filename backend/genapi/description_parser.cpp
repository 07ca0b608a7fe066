#include "genapi/description_parser.h"

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

constexpr unsigned kParse = pugi::parse_cdata | pugi::parse_escapes | pugi::parse_eol;

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

ZelCamErr readText(const std::string& document, std::string* text, std::string* why)
{
    if (document.size() > kMaxDocumentSize) {
        *why = "the document is too large";
        return ZelErr::kParamTree;
    }
    std::string unpacked;
    if (isZip(document) && unzip(document, &unpacked) != ZelErr::kOk) {
        *why = "the zip archive is broken";
        return ZelErr::kParamTree;
    }
    const std::string_view bare = withoutPadding(isZip(document) ? unpacked : document);
    // Characters of old cameras are Latin-1 whatever they declare.
    *text = base::isValidUtf8(bare) ? std::string(bare) : base::toUtf8(bare);
    // Entities exist only to be abused; no camera's description has a document type.
    if (text->find("<!DOCTYPE") == std::string::npos && !text->empty())
        return ZelErr::kOk;
    *why = "the text is not well-formed XML";
    return ZelErr::kParamTree;
}

std::string atLine(const std::string& text, std::ptrdiff_t place)
{
    if (place < 0 || static_cast<std::size_t>(place) > text.size())
        return {};
    return "line " + std::to_string(1 + std::count(text.begin(), text.begin() + place, '\n')) +
           ": ";
}

} // namespace

ZelCamErr parseDescription(const std::string& document, Description* description, std::string* why)
{
    std::string text;
    if (const ZelCamErr result = readText(document, &text, why); result != ZelErr::kOk)
        return result;
    Description made;
    made.document.assign(text.begin(), text.end());
    pugi::xml_document xml;
    const pugi::xml_parse_result parsed = xml.load_buffer_inplace(
        made.document.data(), made.document.size(), kParse, pugi::encoding_utf8);
    if (parsed.status == pugi::status_out_of_memory) {
        *why = "there is no memory for the description";
        return ZelErr::kGenTLOutOfMemory;
    }
    const pugi::xml_node root = xml.document_element();
    if (!parsed || !root) {
        *why = atLine(text, parsed.offset) + "the text is not well-formed XML";
        return ZelErr::kParamTree;
    }
    if (std::string_view(root.name()) != "RegisterDescription") {
        *why = "the root element is not RegisterDescription";
        return ZelErr::kParamTree;
    }
    NodeReader reader(&made);
    if (!reader.read(root)) {
        *why = atLine(text, reader.place()) + reader.why();
        return ZelErr::kParamTree;
    }
    if (!checkReferences(&made, why))
        return ZelErr::kParamTree;
    made.links.shrink_to_fit();
    *description = std::move(made);
    return ZelErr::kOk;
}

} // namespace genapi
