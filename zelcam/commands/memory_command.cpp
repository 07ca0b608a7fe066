#include "commands/memory_command.h"

#include "common/open_camera.h"

#include <charconv>
#include <cstdio>

namespace commands
{

using common::Exit;
using common::Failure;

namespace
{

constexpr std::int64_t kMost = 64 << 20;

std::int64_t number(const std::string& text, const char* what)
{
    const bool hex = text.rfind("0x", 0) == 0 || text.rfind("0X", 0) == 0;
    const char* const first = text.data() + (hex ? 2 : 0);
    const char* const last = text.data() + text.size();
    std::int64_t value = -1;
    const auto [end, error] = std::from_chars(first, last, value, hex ? 16 : 10);
    if (error != std::errc() || end != last || value < 0) {
        throw Failure(Exit::Usage, std::string(what) + " is no number: '" + text + "'");
    }
    return value;
}

std::string hexOf(const std::vector<unsigned char>& bytes)
{
    std::string text;
    for (const unsigned char byte : bytes) {
        text += common::format("%02x", byte);
    }
    return text;
}

std::vector<unsigned char> bytesOf(const std::string& hex)
{
    std::vector<unsigned char> bytes;
    bool good = hex.size() % 2 == 0 && !hex.empty();
    for (std::size_t i = 0; good && i < hex.size(); i += 2) {
        unsigned value = 0;
        const char* const last = hex.data() + i + 2;
        const auto [end, error] = std::from_chars(hex.data() + i, last, value, 16);
        good = error == std::errc() && end == last;
        bytes.push_back(static_cast<unsigned char>(value));
    }
    if (!good) {
        throw Failure(Exit::Usage, "BYTES wants pairs of hexadecimal digits, such as 00ff10");
    }
    return bytes;
}

/// Sixteen bytes a line: address, hexadecimal, text.
void dumpLines(const common::Printer& printer, std::int64_t address,
               const std::vector<unsigned char>& bytes)
{
    constexpr std::size_t kRow = 16;
    for (std::size_t at = 0; at < bytes.size(); at += kRow) {
        std::string line =
            common::format("%08llx  ", static_cast<unsigned long long>(address) + at);
        std::string text;
        for (std::size_t i = at; i < at + kRow; ++i) {
            const bool there = i < bytes.size();
            line += there ? common::format("%02x ", bytes[i]) : "   ";
            text += !there                                ? ' '
                    : bytes[i] >= 0x20 && bytes[i] < 0x7F ? static_cast<char>(bytes[i])
                                                          : '.';
        }
        printer.line(line.append(" ").append(text));
    }
}

} // namespace

MemoryCommand::MemoryCommand(CLI::App& parent)
    : Command(parent, "memory", "Read or write registers of a camera"),
      read_(app().add_subcommand("read", "Read LENGTH bytes at ADDRESS")),
      write_(app().add_subcommand("write", "Write BYTES at ADDRESS"))
{
    app().require_subcommand(1);
    read_->add_option("ADDRESS", address_, "decimal or 0x")->required();
    read_->add_option("LENGTH", length_, "bytes, at most 64 MiB")->required();
    read_->add_option("-o,--output", output_, "write them to this file");
    write_->add_option("ADDRESS", address_, "decimal or 0x")->required();
    write_->add_option("BYTES", bytes_, "hexadecimal digits")->required();
}

Exit MemoryCommand::read(const Context& context, ZelCam::Device& device) const
{
    const std::int64_t address = number(address_, "ADDRESS");
    const std::int64_t length = number(length_, "LENGTH");
    if (length < 1 || length > kMost) {
        throw Failure(Exit::Usage, "LENGTH is 1 to 67108864");
    }
    std::vector<unsigned char> bytes(static_cast<std::size_t>(length));
    common::check("reading at " + address_, device.ReadMem(address, bytes.data(), length));
    if (!output_.empty()) {
        std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(output_.c_str(), "wb"),
                                                             std::fclose);
        if (file == nullptr ||
            std::fwrite(bytes.data(), 1, bytes.size(), file.get()) != bytes.size() ||
            std::fflush(file.get()) != 0) {
            throw common::sdkFailure(output_, ZelErr::kFileRead);
        }
        context.printer.line(output_ + ": " + std::to_string(length) + " bytes");
        context.printer.result(name(), {{"address", address}, {"file", output_}});
        return Exit::Ok;
    }
    dumpLines(context.printer, address, bytes);
    context.printer.result(name(), {{"address", address}, {"bytes", hexOf(bytes)}});
    return Exit::Ok;
}

Exit MemoryCommand::write(const Context& context, ZelCam::Device& device) const
{
    const std::int64_t address = number(address_, "ADDRESS");
    const auto bytes = bytesOf(bytes_);
    std::int64_t written = 0;
    const ZelCamErr err =
        device.WriteMem(address, bytes.data(), static_cast<std::int64_t>(bytes.size()), &written);
    common::check("writing at " + address_ + " (" + std::to_string(written) + " bytes written)",
                  err);
    context.printer.line(std::to_string(written) + " bytes written");
    context.printer.result(name(), {{"address", address}, {"written", written}});
    return Exit::Ok;
}

Exit MemoryCommand::run(const Context& context)
{
    common::OpenCamera camera(context.options);
    return read_->parsed() ? read(context, camera.device()) : write(context, camera.device());
}

} // namespace commands
