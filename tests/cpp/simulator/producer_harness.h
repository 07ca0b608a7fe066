// A strict foreign consumer: the producer's function table, small cameras, registers by name.
#pragma once

#include "gentl_abi/functions.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace producer_test
{

using namespace gentl; // NOLINT: a consumer speaks GenTL throughout

/// Answer of an INFO function for a fixed-size type.
template <class Value> struct Answer {
    Error code = 0;
    std::int32_t type = kTypeUnknown;
    std::size_t size = sizeof(Value);
    Value value{};
};

/// Asks `function(args..., type, data, size)`.
template <class Value, class Function, class... Args>
Answer<Value> ask(Function function, Args... args)
{
    Answer<Value> answer;
    answer.code = function(args..., &answer.type, &answer.value, &answer.size);
    return answer;
}

/// The value itself; a failing call or a wrong type or size fails the test.
template <class Value, class Function, class... Args>
Value askFor(InfoDataType type, Function function, Args... args)
{
    const auto answer = ask<Value>(function, args...);
    EXPECT_EQ(answer.code, err::kSuccess);
    EXPECT_EQ(answer.type, type);
    EXPECT_EQ(answer.size, sizeof(Value));
    return answer.value;
}

/// A text, asked for its size first.
template <class Function, class... Args> std::string askText(Function function, Args... args)
{
    std::int32_t type = kTypeUnknown;
    std::size_t size = 0;
    EXPECT_EQ(function(args..., &type, nullptr, &size), err::kSuccess);
    EXPECT_EQ(type, kTypeString);
    std::string text(size, '?');
    EXPECT_EQ(function(args..., &type, text.data(), &size), err::kSuccess);
    EXPECT_EQ(size, text.size());
    EXPECT_EQ(text.back(), '\0');
    text.pop_back();
    return text;
}

/// The registers of a port by the names in its description.
class Registers
{
public:
    Registers() = default;
    Registers(const FunctionTable& functions, Handle port);

    const std::string& xml() const { return xml_; }
    Error write(const std::string& name, std::uint64_t value, std::size_t index = 0) const;
    Error tryRead(const std::string& name, std::uint64_t* value, std::size_t index = 0) const;
    std::uint64_t read(const std::string& name, std::size_t index = 0) const;
    std::string readText(const std::string& name, std::size_t index = 0) const;
    /// Value of an entry of an enumeration.
    std::uint64_t entry(const std::string& name, const std::string& entry) const;
    Error writeEntry(const std::string& name, const std::string& entry,
                     std::size_t index = 0) const;
    /// Registers that hold a float as it is.
    Error writeReal(const std::string& name, double value) const;
    struct Place {
        std::uint64_t address;
        std::size_t length;
    };
    Place place(const std::string& name, std::size_t index = 0) const;

private:
    const FunctionTable* functions_ = nullptr;
    Handle port_ = nullptr;
    std::string xml_;
};

/// Reads the description behind a port's first URL.
std::string readDescription(const FunctionTable& functions, Handle port);

/// An open device with its stream, buffers and new-buffer event. Not closed by itself.
struct Session {
    Handle device = nullptr;
    Handle port = nullptr;
    Handle stream = nullptr;
    Handle event = nullptr;
    Registers camera;
    std::vector<Handle> buffers;
};

/// Initialised producer with two interfaces: "net" (GEV) with the cameras "One" and "Two", and
/// "link" (CL) with "Three"; all 64 x 48, Mono8 first, 50 frames per second.
class ProducerTest : public ::testing::Test
{
protected:
    ProducerTest();
    void SetUp() override;
    void TearDown() override;

    /// Makes the producer read `json` (or nothing: no interfaces) at the next TLOpen.
    static void configure(const std::string& json);
    void openSystem();
    Handle openInterface(const std::string& id);
    Session openCamera(Handle interface, const std::string& id);
    /// Opens camera `model` with its stream, `count` queued buffers and the new-buffer event.
    Session openStream(const std::string& model, std::size_t count);
    Error start(const Session& session, std::uint64_t frames = kInfinite) const;
    /// Waits up to 5 s; the buffer, or null and a failed test.
    Handle nextBuffer(const Session& session) const;
    Error tryBuffer(const Session& session, std::uint64_t timeoutMs, Handle* buffer) const;
    template <class Value>
    Value bufferInfo(const Session& session, Handle buffer, BufferInfo command,
                     InfoDataType type) const
    {
        return askFor<Value>(type, f.DSGetBufferInfo, session.stream, buffer, command);
    }
    bool bufferFlag(const Session& session, Handle buffer, BufferInfo command) const
    {
        return bufferInfo<Bool8>(session, buffer, command, kTypeBool8) != 0;
    }
    template <class Value>
    Value streamInfo(const Session& session, StreamInfo command, InfoDataType type) const
    {
        return askFor<Value>(type, f.DSGetInfo, session.stream, command);
    }
    std::uint64_t streamCount(const Session& session, StreamInfo command) const
    {
        return streamInfo<std::uint64_t>(session, command, kTypeUint64);
    }
    std::size_t streamSize(const Session& session, StreamInfo command) const
    {
        return streamInfo<std::size_t>(session, command, kTypeSizeT);
    }

    static constexpr std::size_t kPayload = 64 * 48;

    const FunctionTable& f;
    Handle system = nullptr;
    Handle net = nullptr;
    Handle link = nullptr;
};

constexpr const char* kOneId = "net/One/90000001";
constexpr const char* kTwoId = "net/Two/90000002";
constexpr const char* kThreeId = "link/Three/90000003";

} // namespace producer_test
