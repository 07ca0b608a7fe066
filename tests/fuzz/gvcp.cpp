// Datagrams at the control and message ports: every parser, and nothing handed out lies outside.
#include "gige/wire/xml_url.h"
#include "input.h"
#include "wire_checks.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::vector<std::uint8_t> memory(data, data + size);
    const gige::wire::Bytes bytes(memory.data(), memory.size());
    fuzz::require(wire_checks::commandHolds(bytes));
    fuzz::require(wire_checks::answerHolds(bytes));
    gige::wire::parseXmlUrl(bytes.text(0, size));
    return 0;
}
