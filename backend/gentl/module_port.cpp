// A port of a producer: registers and description of one module.
#include "gentl/module_port.h"

#include "base/fork_guard.h"
#include "base/whole_file.h"
#include "gentl/info.h"
#include "gentl/port_url.h"

#include <algorithm>
#include <limits>

namespace gentl
{

namespace
{

constexpr std::size_t kPiece = 65'536; // Some transports take no more in one call.
constexpr std::size_t kMaxDescription = std::size_t{64} << 20U;
constexpr std::uint32_t kMaxUrls = 16;

} // namespace

ZelCamErr ModulePort::description(std::string* document)
{
    ZelCamErr code = ZelErr::kGenTLNoData;
    for (const std::string& url : urls()) {
        code = load(url, document);
        if (code == ZelErr::kOk) {
            return code;
        }
        base::log(base::LogChannel::GenTL, "%s description %s: %d", api_.name().c_str(),
                  url.c_str(), code);
    }
    return code;
}

ZelCamErr ModulePort::read(std::uint64_t address, void* data, std::size_t size)
{
    if (base::inForkedChild()) {
        return ZelErr::kGenTLInvalidHandle;
    }
    auto* const bytes = static_cast<unsigned char*>(data);
    for (std::size_t done = 0; done < size;) {
        const std::size_t asked = std::min(kPiece, size - done);
        std::size_t got = asked;
        const Error code = api_.call<&FunctionTable::GCReadPort>(
            "GCReadPort", handle_, address + done, static_cast<void*>(bytes + done), &got);
        if (code != err::kSuccess) {
            return code;
        }
        if (got != asked) {
            return ZelErr::kGenTLIo; // Half a register is none.
        }
        done += asked;
    }
    return ZelErr::kOk;
}

ZelCamErr ModulePort::write(std::uint64_t address, const void* data, std::size_t size)
{
    if (base::inForkedChild()) {
        return ZelErr::kGenTLInvalidHandle;
    }
    const auto* const bytes = static_cast<const unsigned char*>(data);
    for (std::size_t done = 0; done < size;) {
        const std::size_t asked = std::min(kPiece, size - done);
        std::size_t written = asked;
        const Error code = api_.call<&FunctionTable::GCWritePort>(
            "GCWritePort", handle_, address + done, static_cast<const void*>(bytes + done),
            &written);
        if (code != err::kSuccess) {
            return code;
        }
        if (written != asked) {
            return ZelErr::kGenTLIo;
        }
        done += asked;
    }
    return ZelErr::kOk;
}

ZelCamErr ModulePort::probe()
{
    unsigned char bytes[4];
    return read(probeAddress_, bytes, sizeof bytes);
}

// The list since 1.1; before that one text of several addresses, each ended by NUL.
std::vector<std::string> ModulePort::urls()
{
    std::vector<std::string> result;
    std::uint32_t count = 0;
    if (api_.call<&FunctionTable::GCGetNumPortURLs>("GCGetNumPortURLs", handle_, &count) ==
        err::kSuccess) {
        for (std::uint32_t i = 0; i < std::min(count, kMaxUrls); ++i) {
            const auto url = askText([&](std::int32_t* type, void* data, std::size_t* size) {
                return api_.call<&FunctionTable::GCGetPortURLInfo>(
                    "GCGetPortURLInfo", handle_, i, std::int32_t{kUrlInfoUrl}, type, data, size);
            });
            if (url && !url->empty()) {
                result.push_back(*url);
            }
        }
    }
    if (!result.empty()) {
        return result;
    }
    char text[4096] = {};
    std::size_t size = sizeof text - 2;
    if (api_.call<&FunctionTable::GCGetPortURL>("GCGetPortURL", handle_, static_cast<char*>(text),
                                                &size) == err::kSuccess) {
        text[sizeof text - 1] = text[sizeof text - 2] = '\0';
        for (const char* url = text; *url != '\0'; url += result.back().size() + 1) {
            result.emplace_back(url);
        }
    }
    return result;
}

ZelCamErr ModulePort::load(const std::string& text, std::string* document)
{
    const auto url = parsePortUrl(text);
    if (!url) {
        return ZelErr::kGenTLNotImplemented;
    }
    if (url->scheme == PortUrl::Scheme::File) {
        return base::readWholeFile(url->path.c_str(), kMaxDescription, document);
    }
    const bool fits = url->length > 0 && url->length <= kMaxDescription &&
                      url->address <= std::numeric_limits<std::uint64_t>::max() - url->length;
    if (!fits) {
        return ZelErr::kGenTLInvalidAddress;
    }
    probeAddress_ = url->address;
    std::string bytes(static_cast<std::size_t>(url->length), '\0');
    const ZelCamErr code = read(url->address, bytes.data(), bytes.size());
    if (code == ZelErr::kOk) {
        *document = std::move(bytes);
    }
    return code;
}

} // namespace gentl
