#include "genapi/description_parser.h"

#include "genapi/description_check.h"
#include "genapi/description_writer.h"
#include "genapi/node_reader.h"
#include "genapi/utf8.h"
#include "genapi/xml_element.h"
#include "genapi/zip_reader.h"

#include <libxml/parser.h>

#include <memory>
#include <mutex>

namespace genapi
{

namespace
{

struct DocumentDeleter {
    void operator()(xmlDoc* document) const { xmlFreeDoc(document); }
};
using Document = std::unique_ptr<xmlDoc, DocumentDeleter>;

Document readXml(const std::string& text)
{
    static std::once_flag once;
    std::call_once(once, [] { xmlInitParser(); });
    return Document(xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr,
                                  XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING |
                                      XML_PARSE_NOCDATA | XML_PARSE_COMPACT));
}

/// Register memory behind the document reads as zeros.
void dropPadding(std::string* text)
{
    const std::size_t last = text->find_last_not_of(std::string_view("\0 \t\r\n", 5));
    text->resize(last == std::string::npos ? 0 : last + 1);
}

Document readDocument(const std::string& document, std::string* why)
{
    std::string text;
    if (document.size() > kMaxDocumentSize) {
        *why = "the document is too large";
        return nullptr;
    }
    if (!isZip(document)) {
        text = document;
    } else if (unzip(document, &text) != ZelErr::kOk) {
        *why = "the zip archive is broken";
        return nullptr;
    }
    dropPadding(&text);
    // Entities exist only to be abused; no camera's description has a document type.
    Document parsed;
    if (text.find("<!DOCTYPE") == std::string::npos)
        parsed = readXml(text);
    if (parsed == nullptr && !isValidUtf8(text))
        parsed = readXml(toValidUtf8(text));
    if (parsed == nullptr || parsed->intSubset != nullptr) {
        *why = "the text is not well-formed XML";
        return nullptr;
    }
    return parsed;
}

} // namespace

ZelCamErr parseDescription(const std::string& document, Description* description, std::string* why)
{
    const Document parsed = readDocument(document, why);
    if (parsed == nullptr)
        return ZelErr::kParamTree;
    const xmlNode* const root = xmlDocGetRootElement(parsed.get());
    if (root == nullptr || tagOf(root) != "RegisterDescription") {
        *why = "the root element is not RegisterDescription";
        return ZelErr::kParamTree;
    }
    Description result;
    NodeReader reader(&result);
    if (!reader.read(root)) {
        *why = reader.why();
        return ZelErr::kParamTree;
    }
    if (!checkReferences(&result, why))
        return ZelErr::kParamTree;
    result.evaluated = writeEvaluated(result, root, reader.elements());
    *description = std::move(result);
    return ZelErr::kOk;
}

} // namespace genapi
