// A producer that lies: the simulated one behind answers that are wrong now and then.
#include "hostile_producer.h"

#include <atomic>
#include <chrono>
#include <thread>
#include <type_traits>

namespace gentl_test
{

using gentl::Error;
using gentl::FunctionTable;
using gentl::Handle;

namespace
{

FunctionTable honestTable;
std::atomic<std::uint32_t> hostility{0};
std::atomic<std::uint64_t> state{1};
std::atomic<std::uint64_t> spoilt{0};

std::uint64_t chance()
{
    std::uint64_t x = state.fetch_add(0x9E3779B97F4A7C15U) + 0x9E3779B97F4A7C15U;
    x = (x ^ (x >> 30U)) * 0xBF58476D1CE4E5B9U;
    x = (x ^ (x >> 27U)) * 0x94D049BB133111EBU;
    return x ^ (x >> 31U);
}

template <class Value, std::size_t N> Value oneOf(const Value (&values)[N])
{
    return values[chance() % N];
}

Error oddCode()
{
    return oneOf<Error>({-1001, -1002, -1003, -1004, -1005,  -1006, -1007, -1008,
                         -1009, -1010, -1011, -1012, -1013,  -1014, -1016, -1018,
                         -1020, -1021, -1022, -1,    -10001, 7});
}

// Answers that are wrong in their kind; what an argument does not carry out is left alone.
template <class Argument> void falsify(Argument /*argument*/) {}
void falsify(std::size_t* size)
{
    if (size != nullptr) {
        *size = oneOf<std::size_t>({0, 1, 3, 4, 8, 17, 1U << 20U, ~std::size_t{0}});
    }
}
void falsify(std::int32_t* type)
{
    if (type != nullptr) {
        *type = static_cast<std::int32_t>(chance() % 20) - 2;
    }
}
void falsify(std::uint32_t* count)
{
    if (count != nullptr) {
        *count = oneOf<std::uint32_t>({0, 1, 2, 1000, 0xFFFFFFFFU});
    }
}

void falsify(gentl::BufferInfoStacked* question)
{
    question->result = oddCode();
    question->type = static_cast<std::int32_t>(chance() % 20);
    question->size = oneOf<std::size_t>({0, 1, 8, 9, ~std::size_t{0}});
    question->data = nullptr;
}

template <class Argument> void invent(Argument /*argument*/) {}
void invent(Handle* handle)
{
    if (handle != nullptr) {
        *handle = chance() % 2 == 0 ? nullptr : reinterpret_cast<Handle>(chance());
    }
}

/// What a call wrote: its last pointer before the size, handles being pointers as well.
struct Written {
    void take(void* argument) { data = static_cast<unsigned char*>(argument); }
    void take(char* argument) { data = reinterpret_cast<unsigned char*>(argument); }
    void take(gentl::ChunkData* argument)
    {
        data = reinterpret_cast<unsigned char*>(argument);
        unit = sizeof *argument;
    }
    void take(const void* /*argument*/) { data = nullptr; }
    void take(std::size_t* argument) { size = argument; }
    template <class Argument> void take(Argument /*argument*/) {}

    /// Another byte than the honest one, somewhere.
    void garble() const
    {
        if (data != nullptr && size != nullptr && *size > 0) {
            data[chance() % (*size * unit)] ^= static_cast<unsigned char>(chance() % 255 + 1);
        }
    }

    unsigned char* data = nullptr;
    const std::size_t* size = nullptr;
    std::size_t unit = 1;
};

enum class Spoiling { Refuse, FailAfterwards, Late, Falsify, Garble, Invent, Count };

template <auto Function> constexpr bool mustBeDone()
{
    const auto is = [](auto other) {
        if constexpr (std::is_same_v<decltype(Function), decltype(other)>) {
            return Function == other;
        }
        return false;
    };
    return is(&FunctionTable::DSClose) || is(&FunctionTable::DevClose) ||
           is(&FunctionTable::GCUnregisterEvent);
}

template <auto Function> struct Spoilt;

template <class... Arguments, Error (*FunctionTable::*Function)(Arguments...)>
struct Spoilt<Function> {
    static constexpr bool kMakesHandle = (std::is_same_v<Arguments, Handle*> || ...);

    static Spoiling choose()
    {
        const auto chosen =
            static_cast<Spoiling>(chance() % static_cast<unsigned>(Spoiling::Count));
        if (chosen == Spoiling::Invent && !kMakesHandle) {
            return Spoiling::Falsify;
        }
        // A handle that was made and is not told would stay open for ever.
        if (chosen == Spoiling::FailAfterwards && kMakesHandle) {
            return Spoiling::Refuse;
        }
        return chosen == Spoiling::Refuse && mustBeDone<Function>() ? Spoiling::FailAfterwards
                                                                    : chosen;
    }

    static Error call(Arguments... arguments)
    {
        const auto honest = honestTable.*Function;
        if (chance() % 1000 >= hostility) {
            return honest(arguments...);
        }
        ++spoilt;
        switch (choose()) {
        case Spoiling::Refuse:
            return oddCode();
        case Spoiling::Invent:
            (invent(arguments), ...);
            return gentl::err::kSuccess;
        case Spoiling::Late:
            std::this_thread::sleep_for(std::chrono::milliseconds(3));
            return honest(arguments...);
        case Spoiling::FailAfterwards:
            honest(arguments...);
            return oddCode();
        case Spoiling::Garble: {
            const Error code = honest(arguments...);
            Written written;
            (written.take(arguments), ...);
            if (code == gentl::err::kSuccess) {
                written.garble();
            }
            return code;
        }
        default: {
            const Error code = honest(arguments...);
            (falsify(arguments), ...);
            return code;
        }
        }
    }
};

template <auto Function> void spoil(FunctionTable& table)
{
    table.*Function = &Spoilt<Function>::call;
}

} // namespace

gentl::FunctionTable hostileTable(const gentl::FunctionTable& honest)
{
    honestTable = honest;
    FunctionTable table = honest;
    spoil<&FunctionTable::GCGetInfo>(table);
    spoil<&FunctionTable::GCGetLastError>(table);
    spoil<&FunctionTable::GCReadPort>(table);
    spoil<&FunctionTable::GCWritePort>(table);
    spoil<&FunctionTable::GCGetPortURL>(table);
    spoil<&FunctionTable::GCGetPortInfo>(table);
    spoil<&FunctionTable::GCRegisterEvent>(table);
    spoil<&FunctionTable::GCUnregisterEvent>(table);
    spoil<&FunctionTable::EventGetData>(table);
    spoil<&FunctionTable::EventGetDataInfo>(table);
    spoil<&FunctionTable::EventGetInfo>(table);
    spoil<&FunctionTable::EventFlush>(table);
    spoil<&FunctionTable::EventKill>(table);
    spoil<&FunctionTable::TLGetInfo>(table);
    spoil<&FunctionTable::TLGetNumInterfaces>(table);
    spoil<&FunctionTable::TLGetInterfaceID>(table);
    spoil<&FunctionTable::TLGetInterfaceInfo>(table);
    spoil<&FunctionTable::TLOpenInterface>(table);
    spoil<&FunctionTable::TLUpdateInterfaceList>(table);
    spoil<&FunctionTable::IFGetInfo>(table);
    spoil<&FunctionTable::IFGetNumDevices>(table);
    spoil<&FunctionTable::IFGetDeviceID>(table);
    spoil<&FunctionTable::IFUpdateDeviceList>(table);
    spoil<&FunctionTable::IFGetDeviceInfo>(table);
    spoil<&FunctionTable::IFOpenDevice>(table);
    spoil<&FunctionTable::DevGetPort>(table);
    spoil<&FunctionTable::DevGetNumDataStreams>(table);
    spoil<&FunctionTable::DevGetDataStreamID>(table);
    spoil<&FunctionTable::DevOpenDataStream>(table);
    spoil<&FunctionTable::DevGetInfo>(table);
    spoil<&FunctionTable::DevClose>(table);
    spoil<&FunctionTable::DSAnnounceBuffer>(table);
    spoil<&FunctionTable::DSAllocAndAnnounceBuffer>(table);
    spoil<&FunctionTable::DSFlushQueue>(table);
    spoil<&FunctionTable::DSStartAcquisition>(table);
    spoil<&FunctionTable::DSStopAcquisition>(table);
    spoil<&FunctionTable::DSGetInfo>(table);
    spoil<&FunctionTable::DSGetBufferID>(table);
    spoil<&FunctionTable::DSClose>(table);
    spoil<&FunctionTable::DSRevokeBuffer>(table);
    spoil<&FunctionTable::DSQueueBuffer>(table);
    spoil<&FunctionTable::DSGetBufferInfo>(table);
    spoil<&FunctionTable::DSGetBufferInfoStacked>(table);
    spoil<&FunctionTable::GCGetNumPortURLs>(table);
    spoil<&FunctionTable::GCGetPortURLInfo>(table);
    spoil<&FunctionTable::DSGetBufferChunkData>(table);
    spoil<&FunctionTable::IFGetParentTL>(table);
    spoil<&FunctionTable::DevGetParentIF>(table);
    spoil<&FunctionTable::DSGetParentDev>(table);
    spoil<&FunctionTable::DSGetNumBufferParts>(table);
    spoil<&FunctionTable::DSGetBufferPartInfo>(table);
    return table;
}

void setHostility(std::uint32_t perMille, std::uint64_t seed)
{
    hostility = perMille;
    state = seed;
}

std::uint64_t spoiltCalls() { return spoilt; }

} // namespace gentl_test
