// A settings file: what is read and written again is read as the same.
#include "input.h"
#include "params/configuration_text.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text = fuzz::Input(data, size).rest();
    params::ConfigurationText read;
    std::size_t place = 0;
    if (!params::parseConfiguration(text, &read, &place)) {
        return 0;
    }
    const std::string written = params::formatConfiguration(read);
    params::ConfigurationText again;
    fuzz::require(params::parseConfiguration(written, &again, &place));
    fuzz::require(again.lines.size() == read.lines.size());
    for (std::size_t i = 0; i < read.lines.size(); ++i) {
        fuzz::require(again.lines[i].name == read.lines[i].name);
        fuzz::require(again.lines[i].value == read.lines[i].value);
        fuzz::require(again.lines[i].selectors == read.lines[i].selectors);
    }
    return 0;
}
