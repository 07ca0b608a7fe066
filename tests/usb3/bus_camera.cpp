// Control endpoint, registers and plugging of the camera on the bus.
#include "bus_camera.h"

#include "base/endian.h"

#include <fcntl.h>
#include <sys/file.h>
#include <time.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace usb3test
{

using base::loadLittle;
using base::storeLittle;
using std::chrono::milliseconds;

namespace
{

constexpr std::uint64_t kSbrm = 0x80010000;
constexpr std::uint64_t kSirm = 0x80020000;
constexpr std::uint64_t kEirm = 0x80030000;
constexpr std::uint64_t kManifest = 0x80040000;
constexpr std::uint64_t kZip = 0x90000000;
constexpr std::uint32_t kMaxTransfer = 1024;

template <class Word> void put(Bytes& bytes, std::size_t offset, Word value)
{
    storeLittle(bytes.data() + offset, value);
}

void putText(Bytes& bytes, std::size_t offset, const std::string& text)
{
    std::memcpy(bytes.data() + offset, text.data(), std::min<std::size_t>(text.size(), 63));
}

/// A zip archive with one deflated member.
Bytes zipOf(const std::string& text)
{
    Bytes packed(compressBound(text.size()) + 64);
    z_stream stream{};
    deflateInit2(&stream, 6, Z_DEFLATED, -15, 8, Z_DEFAULT_STRATEGY);
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
    stream.avail_in = static_cast<uInt>(text.size());
    stream.next_out = packed.data();
    stream.avail_out = static_cast<uInt>(packed.size());
    deflate(&stream, Z_FINISH);
    packed.resize(stream.total_out);
    deflateEnd(&stream);
    const auto crc = static_cast<std::uint32_t>(
        crc32(0, reinterpret_cast<const Bytef*>(text.data()), static_cast<uInt>(text.size())));
    const std::string name = "camera.xml";
    const auto header = [&](std::uint32_t magic, std::size_t size) {
        Bytes bytes(size);
        const std::size_t at = magic == 0x02014b50 ? 6 : 4; // the directory has one more version
        put(bytes, 0, magic);
        put(bytes, at, std::uint16_t{20});
        put(bytes, at + 4, std::uint16_t{8});
        put(bytes, at + 10, crc);
        put(bytes, at + 14, static_cast<std::uint32_t>(packed.size()));
        put(bytes, at + 18, static_cast<std::uint32_t>(text.size()));
        put(bytes, at + 22, static_cast<std::uint16_t>(name.size()));
        bytes.insert(bytes.end(), name.begin(), name.end());
        return bytes;
    };
    Bytes zip = header(0x04034b50, 30);
    zip.insert(zip.end(), packed.begin(), packed.end());
    const auto start = static_cast<std::uint32_t>(zip.size());
    const Bytes directory = header(0x02014b50, 46);
    zip.insert(zip.end(), directory.begin(), directory.end());
    Bytes end(22);
    put(end, 0, std::uint32_t{0x06054b50});
    put(end, 8, std::uint16_t{1});
    put(end, 10, std::uint16_t{1});
    put(end, 12, static_cast<std::uint32_t>(directory.size()));
    put(end, 16, start);
    zip.insert(zip.end(), end.begin(), end.end());
    return zip;
}

std::uint16_t statusOf(std::int32_t code)
{
    switch (code) {
    case 0:
        return 0;
    case -1005:
        return 0x8006;
    case -1015:
        return 0x8003;
    case -1019:
        return 0x8002;
    default:
        return 0x8FFF;
    }
}

std::string guidOf(const std::string& serial)
{
    char text[13];
    std::snprintf(text, sizeof text, "5A43%08X",
                  static_cast<unsigned>(std::hash<std::string>()(serial) & 0xFFFFFFFFU));
    return text;
}

} // namespace

BusCamera::BusCamera(const simulator::CameraConfig& config, int index, Complete complete,
                     std::function<void(BusCamera*, bool)> plugged)
    : complete_(std::move(complete)), plugged_(std::move(plugged)),
      guid_(guidOf(config.serialNumber)), number_(index + 1), model_(config)
{
    model_.setObserver(this);
    setUpRegisters();
    engine_ = std::thread([this] { runEngine(); });
    bus_ = std::thread([this] { runBus(); });
}

void BusCamera::setUpRegisters()
{
    const simulator::CameraConfig& camera = model_.config();
    Bytes abrm(0x250);
    put(abrm, 0, std::uint32_t{0x00010001});
    putText(abrm, 0x04, camera.vendor);
    putText(abrm, 0x44, camera.model);
    putText(abrm, 0xC4, camera.version);
    putText(abrm, 0x144, camera.serialNumber);
    put(abrm, 0x1CC, std::uint32_t{300});
    put(abrm, 0x1D0, kManifest);
    put(abrm, 0x1D8, kSbrm);
    Bytes sbrm(0x44);
    put(sbrm, 0x04, std::uint64_t{3});
    put(sbrm, 0x14, kMaxTransfer);
    put(sbrm, 0x18, kMaxTransfer);
    put(sbrm, 0x1C, std::uint32_t{1});
    put(sbrm, 0x20, kSirm);
    put(sbrm, 0x28, std::uint32_t{0x30});
    put(sbrm, 0x2C, kEirm);
    put(sbrm, 0x40, std::uint32_t{8});
    Bytes sirm(0x30);
    put(sirm, 0x10, std::uint32_t{52});
    put(sirm, 0x14, std::uint32_t{36});
    Bytes eirm(0x0C);
    put(eirm, 0x04, std::uint32_t{1024});
    // An older file stands behind it, and before it when it is packed; it leads nowhere.
    const Bytes zip = zipOf(model_.xml());
    Bytes manifest(8 + 2 * 64);
    put(manifest, 0, std::uint64_t{2});
    put(manifest, 8, std::uint32_t{0x01020003});
    put(manifest, 8 + 8, model_.xmlAddress());
    put(manifest, 8 + 16, static_cast<std::uint64_t>(model_.xml().size()));
    put(manifest, 72, std::uint32_t{0x01000000});
    put(manifest, 72 + 8, std::uint64_t{0xDEAD0000});
    put(manifest, 72 + 16, std::uint64_t{100});
    registers_ = {{0, abrm},     {kSbrm, sbrm},         {kSirm, sirm},
                  {kEirm, eirm}, {kManifest, manifest}, {kZip, zip}};
}

void BusCamera::set(const std::string& name, long value)
{
    if (name == "unplug") {
        leave(value);
        return;
    }
    std::unique_lock lock(mutex_);
    faults_[name] = value;
    if (name == "alignment") {
        put(registers_[kSirm], 0, static_cast<std::uint32_t>(value) << 24U);
    } else if (name == "zip") {
        Bytes& manifest = registers_[kManifest];
        std::swap_ranges(manifest.begin() + 8, manifest.begin() + 72, manifest.begin() + 72);
        put(manifest, 72 + 4, std::uint32_t{1U << 10U});
        put(manifest, 72 + 8, kZip);
        put(manifest, 72 + 16, static_cast<std::uint64_t>(registers_[kZip].size()));
    } else if (name == "event") {
        lock.unlock();
        std::uint8_t data[16] = {};
        storeLittle(data + 2, std::uint16_t{0x4FFF});
        storeLittle(data + 4, model_.now());
        storeLittle(data + 12, static_cast<std::uint32_t>(value));
        event(0x4FFF, data, sizeof data);
    }
}

long BusCamera::get(const std::string& name)
{
    const std::lock_guard lock(mutex_);
    const auto found = faults_.find(name);
    return found != faults_.end() ? found->second : 0;
}

/// Uses up one of a count; the lock is held.
bool BusCamera::use(const std::string& name)
{
    const auto found = faults_.find(name);
    if (found == faults_.end() || found->second <= 0) {
        return false;
    }
    --found->second;
    return true;
}

int BusCamera::number()
{
    const std::lock_guard lock(mutex_);
    return number_;
}

void BusCamera::wake()
{
    const std::lock_guard lock(mutex_);
    changed_.notify_all();
}

int BusCamera::claim(int number, int interface)
{
    const std::lock_guard lock(mutex_);
    if (number != number_) {
        return LIBUSB_ERROR_NO_DEVICE;
    }
    if (faults_["taken"] > 0 || claims_.count(interface) != 0) {
        return LIBUSB_ERROR_BUSY;
    }
    if (const char* const folder = std::getenv("ZEL_USB3_LOCKS")) {
        const std::string name = std::string(folder) + "/" + guid_ + std::to_string(interface);
        const int file = ::open(name.c_str(), O_CREAT | O_RDWR | O_CLOEXEC, 0666);
        if (::flock(file, LOCK_EX | LOCK_NB) != 0) {
            ::close(file);
            return LIBUSB_ERROR_BUSY;
        }
        locks_[interface] = file;
    }
    claims_.insert(interface);
    return 0;
}

void BusCamera::release(int interface)
{
    const std::lock_guard lock(mutex_);
    claims_.erase(interface);
    const auto held = locks_.find(interface);
    if (held != locks_.end()) {
        ::close(held->second);
        locks_.erase(held);
    }
}

/// The kernel does this when a client ends; what the camera was told to do it goes on doing.
void BusCamera::closed() { model_.sessionClosed(); }

void BusCamera::leave(long backAfterMs)
{
    std::deque<libusb_transfer*> waiting;
    {
        const std::lock_guard lock(mutex_);
        if (number_ == 0) {
            return;
        }
        faults_["last-number"] = number_;
        number_ = 0;
        claims_.clear();
        answers_.clear();
        frames_.clear();
        events_.clear();
        halted_ = false;
        put(registers_[kSirm], 4, std::uint32_t{0});
        waiting.swap(streamTransfers_);
        waiting.insert(waiting.end(), eventTransfers_.begin(), eventTransfers_.end());
        eventTransfers_.clear();
        changed_.notify_all();
    }
    for (libusb_transfer* const transfer : waiting) {
        complete_(transfer, LIBUSB_TRANSFER_NO_DEVICE, 0);
    }
    plugged_(this, false);
    if (backAfterMs >= 0) {
        std::thread([this, backAfterMs] {
            std::this_thread::sleep_for(milliseconds(backAfterMs));
            {
                const std::lock_guard lock(mutex_);
                number_ = static_cast<int>(faults_["last-number"]) + 10;
            }
            plugged_(this, true);
        }).detach();
    }
}

void BusCamera::unplugged(std::uint64_t backAfterMs)
{
    // From inside a command: its answer is on its way, or not.
    std::thread([this, backAfterMs] {
        leave(backAfterMs > 1U << 30U ? -1 : static_cast<long>(backAfterMs));
    }).detach();
}

// ---- Registers

std::uint16_t BusCamera::read(std::uint64_t address, Bytes* data)
{
    if (address >= kSirm && address < kSirm + 0x30) {
        const std::uint64_t size = model_.payloadSize();
        const std::lock_guard lock(mutex_);
        put(registers_[kSirm], 8, size);
    } else if (address == 0x184) {
        const std::string name = model_.userDefinedName();
        const std::lock_guard lock(mutex_);
        std::memset(registers_[0].data() + 0x184, 0, 64);
        putText(registers_[0], 0x184, name);
    }
    std::unique_lock lock(mutex_);
    for (const auto& [start, bytes] : registers_) {
        if (address >= start && address - start < bytes.size()) {
            const std::size_t offset = static_cast<std::size_t>(address - start);
            if (data->size() > bytes.size() - offset) {
                return 0x8003;
            }
            std::memcpy(data->data(), bytes.data() + offset, data->size());
            return 0;
        }
    }
    lock.unlock();
    return statusOf(model_.read(address, data->data(), data->size()));
}

std::uint16_t BusCamera::write(std::uint64_t address, const std::uint8_t* data, std::size_t size)
{
    {
        const std::lock_guard lock(mutex_);
        if (address >= kSirm && address < kSirm + 0x30 && size == 4) {
            Bytes& sirm = registers_[kSirm];
            const auto value = loadLittle<std::uint32_t>(data);
            const std::uint32_t step = 1U << (loadLittle<std::uint32_t>(&sirm[0]) >> 24U);
            const std::uint64_t offset = address - kSirm;
            if (offset != 4 && loadLittle<std::uint32_t>(&sirm[4]) != 0) {
                return 0xA004;
            }
            if (offset >= 0x18 && offset != 0x20 && value % step != 0) {
                return 0xA003;
            }
            put(sirm, static_cast<std::size_t>(offset), value);
            run_ += offset == 4 ? 1 : 0;
            changed_.notify_all();
            return 0;
        }
        if (address == kEirm && size == 4) {
            put(registers_[kEirm], 0, loadLittle<std::uint32_t>(data));
            return 0;
        }
        if (address < 0x250) {
            return 0x8004;
        }
    }
    return statusOf(model_.write(address, data, size));
}

// ---- Control endpoint

void BusCamera::reply(std::uint16_t command, std::uint16_t status, std::uint16_t id,
                      const Bytes& data)
{
    Answer answer;
    answer.bytes.resize(12);
    put(answer.bytes, 0, std::uint32_t{0x43563355});
    put(answer.bytes, 4, status);
    put(answer.bytes, 6, command);
    put(answer.bytes, 8, static_cast<std::uint16_t>(data.size()));
    put(answer.bytes, 10, id);
    answer.bytes.insert(answer.bytes.end(), data.begin(), data.end());
    const std::lock_guard lock(mutex_);
    answer.at = Clock::now();
    if (command != 0x0805) {
        answer.at += milliseconds(use("late") ? 900 : faults_["slow"]);
        if (use("swallow") || (command == 0x0803 && use("swallow-write"))) {
            return;
        }
    }
    answers_.push_back(std::move(answer));
    changed_.notify_all();
}

int BusCamera::command(int number, const std::uint8_t* bytes, std::size_t size)
{
    {
        const std::lock_guard lock(mutex_);
        if (number != number_) {
            return LIBUSB_ERROR_NO_DEVICE;
        }
        if (use("stall-control")) {
            return LIBUSB_ERROR_PIPE;
        }
    }
    if (size < 20 || loadLittle<std::uint32_t>(bytes) != 0x43563355 || size > kMaxTransfer ||
        loadLittle<std::uint16_t>(bytes + 8) != size - 12) {
        return LIBUSB_ERROR_IO; // no camera of ours is sent such a thing
    }
    const auto kind = loadLittle<std::uint16_t>(bytes + 6);
    const auto id = loadLittle<std::uint16_t>(bytes + 10);
    const auto address = loadLittle<std::uint64_t>(bytes + 12);
    bool isBusy = false;
    bool isPending = false;
    {
        const std::lock_guard lock(mutex_);
        isBusy = use("busy");
        isPending = use("pending");
    }
    if (isBusy) {
        reply(static_cast<std::uint16_t>(kind + 1), 0x8007, id, {});
        return 0;
    }
    if (isPending) {
        reply(0x0805, 0, id, {0, 0, 0x20, 0x03}); // 800 ms
        std::this_thread::sleep_for(milliseconds(20));
        const std::lock_guard lock(mutex_);
        faults_["late"] += 1;
    }
    if (kind == 0x0800) {
        Bytes data(loadLittle<std::uint16_t>(bytes + 22));
        const std::uint16_t status =
            data.size() + 12 > kMaxTransfer ? std::uint16_t{0x8002} : read(address, &data);
        reply(0x0801, status, id, status == 0 ? data : Bytes());
    } else {
        const std::uint16_t status = write(address, bytes + 20, size - 20);
        reply(0x0803, status, id, {});
    }
    return 0;
}

int BusCamera::answer(int number, std::uint8_t* bytes, std::size_t capacity, unsigned timeoutMs,
                      int* got)
{
    const Clock::time_point end = Clock::now() + milliseconds(timeoutMs);
    std::unique_lock lock(mutex_);
    *got = 0;
    while (number == number_) {
        const auto now = Clock::now();
        if (!answers_.empty() && answers_.front().at <= now) {
            const Bytes answer = std::move(answers_.front().bytes);
            answers_.pop_front();
            const std::size_t size = std::min(capacity, answer.size());
            std::memcpy(bytes, answer.data(), size);
            *got = static_cast<int>(size);
            return answer.size() > capacity ? LIBUSB_ERROR_OVERFLOW : 0;
        }
        if (now >= end) {
            return LIBUSB_ERROR_TIMEOUT;
        }
        changed_.wait_until(lock, answers_.empty() ? end : std::min(end, answers_.front().at));
    }
    return LIBUSB_ERROR_NO_DEVICE;
}

std::uint64_t BusCamera::busNanoseconds()
{
    std::uint64_t sum = 0;
    for (std::thread* const thread : {&engine_, &bus_}) {
        clockid_t clock = 0;
        timespec time{};
        pthread_getcpuclockid(thread->native_handle(), &clock);
        clock_gettime(clock, &time);
        sum += static_cast<std::uint64_t>(time.tv_sec) * 1000000000U +
               static_cast<std::uint64_t>(time.tv_nsec);
    }
    return sum;
}

} // namespace usb3test
