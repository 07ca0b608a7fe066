// FileAccessControl: files in the camera, read and written through a buffer.
#pragma once

#include "simulator/camera_context.h"

#include <array>
#include <cstdint>
#include <vector>

namespace simulator
{

/// FileAccessBuffer.
constexpr std::uint64_t kFileBufferBase = 0x05000000;
constexpr std::uint64_t kFileBufferSize = 4096;

/// A file of the user, which survives restarts, and one about the camera. Used under the camera's
/// lock.
class FileSection
{
public:
    static constexpr std::size_t kMostBytes = 65536; ///< In the file of the user.

    explicit FileSection(CameraContext& context);

    /// Places inside the buffer.
    void read(std::uint64_t offset, void* data, std::size_t size) const;
    void write(std::uint64_t offset, const void* data, std::size_t size);
    /// Closes the files: their host is gone.
    void closeAll();

private:
    static constexpr std::size_t kFiles = 2;
    enum class Mode { Closed, Read, Write, ReadWrite };
    struct File {
        std::vector<unsigned char> bytes;
        Mode mode = Mode::Closed;
    };

    void declareOperations();
    void declareBuffer();
    File& selected() { return files_.at(static_cast<std::size_t>(selector_->integer())); }
    /// Runs the selected operation; false when it fails.
    bool execute(std::int64_t* result);
    bool open(File& file);
    bool readFrom(const File& file, std::int64_t* result);
    bool writeTo(File& file, std::int64_t* result);

    CameraContext& context_;
    std::array<File, kFiles> files_;
    std::vector<unsigned char> buffer_;
    Feature* selector_ = nullptr;
    Feature* operation_ = nullptr;
    Feature* openMode_ = nullptr;
    Feature* offset_ = nullptr;
    Feature* length_ = nullptr;
    Feature* status_ = nullptr;
    Feature* result_ = nullptr;
};

} // namespace simulator
