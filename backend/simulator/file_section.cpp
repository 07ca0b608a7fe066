// Files of a simulated camera.
#include "simulator/file_section.h"

#include "gentl_abi/gentl_abi.h"

#include <algorithm>
#include <cstring>
#include <string>

namespace simulator
{

namespace
{

constexpr std::size_t kUserFile = 0;
enum Operation : std::int64_t { kOpen, kClose, kRead, kWrite, kDelete };

} // namespace

FileSection::FileSection(CameraContext& context) : context_(context), buffer_(kFileBufferSize)
{
    const CameraConfig& config = context.config;
    const std::string about =
        config.vendor + '\n' + config.model + '\n' + config.serialNumber + '\n';
    files_[1].bytes.assign(about.begin(), about.end());
    context.table.category("FileAccessControl", "Files in the camera.");
    declareOperations();
    declareBuffer();
}

void FileSection::declareOperations()
{
    FeatureTable& table = context_.table;
    selector_ = &table.enumeration("FileSelector", "File that the other features show.")
                     .guru()
                     .entry("UserFile", 0, "For the user: 64 KiB that survive a restart.")
                     .entry("DeviceInformation", 1, "About the camera; cannot be written.");
    operation_ = &table.enumeration("FileOperationSelector", "What FileOperationExecute does.")
                      .guru()
                      .shownBy({"FileSelector"})
                      .entry("Open", kOpen, "Opens the file as FileOpenMode says.")
                      .entry("Close", kClose, "Closes it.")
                      .entry("Read", kRead, "From the file into FileAccessBuffer.")
                      .entry("Write", kWrite, "From FileAccessBuffer into the file.")
                      .entry("Delete", kDelete, "Empties the closed file.");
    table.command("FileOperationExecute", "Does what FileOperationSelector says.")
        .guru()
        .shownBy({"FileSelector", "FileOperationSelector"})
        .onExecute([this](std::size_t) {
            std::int64_t result = 0;
            const bool isDone = execute(&result);
            status_->set(std::int64_t{isDone ? 0 : 1});
            result_->set(result);
            return gentl::err::kSuccess;
        });
    openMode_ = &table.enumeration("FileOpenMode", "How Open opens the file.")
                     .guru()
                     .shownBy({"FileSelector"})
                     .entry("Read", 0, "To read.")
                     .entry("Write", 1, "To write; what was in it is gone.")
                     .entry("ReadWrite", 2, "To read and to write.");
}

void FileSection::declareBuffer()
{
    FeatureTable& table = context_.table;
    table
        .memory("FileAccessBuffer", "Bytes on their way from or to the file.", kFileBufferBase,
                kFileBufferSize)
        .guru()
        .shownBy({"FileSelector", "FileOperationSelector"});
    const auto number = [&](const char* name, const char* toolTip) -> Feature& {
        return table.integer(name, toolTip)
            .guru()
            .shownBy({"FileSelector", "FileOperationSelector"});
    };
    offset_ = &number("FileAccessOffset", "Place in the file of the next Read or Write.")
                   .unit("B")
                   .range(std::int64_t{0}, std::int64_t{kMostBytes});
    length_ = &number("FileAccessLength", "Bytes of the next Read or Write.")
                   .unit("B")
                   .range(std::int64_t{0}, std::int64_t{kFileBufferSize});
    status_ = &table.enumeration("FileOperationStatus", "How the last operation ended.")
                   .guru()
                   .readOnly()
                   .changesByItself()
                   .shownBy({"FileSelector", "FileOperationSelector"})
                   .entry("Success", 0, "Done.")
                   .entry("Failure", 1, "Not possible.");
    result_ = &number("FileOperationResult", "Bytes that the last Read or Write moved.")
                   .readOnly()
                   .changesByItself();
    table.integer("FileSize", "Bytes in the file.")
        .unit("B")
        .guru()
        .readOnly()
        .shownBy({"FileSelector"})
        .onRead([this](std::size_t) {
            return FeatureValue(static_cast<std::int64_t>(selected().bytes.size()));
        });
}

bool FileSection::execute(std::int64_t* result)
{
    File& file = selected();
    switch (operation_->integer()) {
    case kOpen:
        return open(file);
    case kClose: {
        const bool wasOpen = file.mode != Mode::Closed;
        if (file.mode == Mode::Write || file.mode == Mode::ReadWrite) {
            context_.writesFlash();
        }
        file.mode = Mode::Closed;
        return wasOpen;
    }
    case kRead:
        return readFrom(file, result);
    case kWrite:
        return writeTo(file, result);
    default:
        if (file.mode != Mode::Closed || &file != &files_[kUserFile]) {
            return false;
        }
        file.bytes.clear();
        context_.writesFlash();
        return true;
    }
}

bool FileSection::open(File& file)
{
    const auto wanted = static_cast<Mode>(openMode_->integer() + 1);
    if (file.mode != Mode::Closed || (wanted != Mode::Read && &file != &files_[kUserFile])) {
        return false;
    }
    file.mode = wanted;
    if (wanted == Mode::Write) {
        file.bytes.clear();
    }
    return true;
}

bool FileSection::readFrom(const File& file, std::int64_t* result)
{
    const auto offset = static_cast<std::size_t>(offset_->integer());
    if ((file.mode != Mode::Read && file.mode != Mode::ReadWrite) || offset > file.bytes.size()) {
        return false;
    }
    const std::size_t count =
        std::min(static_cast<std::size_t>(length_->integer()), file.bytes.size() - offset);
    std::copy_n(file.bytes.begin() + static_cast<std::ptrdiff_t>(offset), count, buffer_.begin());
    *result = static_cast<std::int64_t>(count);
    return true;
}

bool FileSection::writeTo(File& file, std::int64_t* result)
{
    const auto offset = static_cast<std::size_t>(offset_->integer());
    if ((file.mode != Mode::Write && file.mode != Mode::ReadWrite) || offset > file.bytes.size()) {
        return false;
    }
    const std::size_t count =
        std::min(static_cast<std::size_t>(length_->integer()), kMostBytes - offset);
    file.bytes.resize(std::max(file.bytes.size(), offset + count));
    std::copy_n(buffer_.begin(), count, file.bytes.begin() + static_cast<std::ptrdiff_t>(offset));
    *result = static_cast<std::int64_t>(count);
    return count == static_cast<std::size_t>(length_->integer());
}

void FileSection::read(std::uint64_t offset, void* data, std::size_t size) const
{
    std::memcpy(data, buffer_.data() + offset, size);
}

void FileSection::write(std::uint64_t offset, const void* data, std::size_t size)
{
    std::memcpy(buffer_.data() + offset, data, size);
}

void FileSection::closeAll()
{
    for (File& file : files_) {
        file.mode = Mode::Closed;
    }
}

} // namespace simulator
