// Registers by name, and the small cameras of the tests.
#include "producer_harness.h"

#include "simulator/producer_table.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>

namespace producer_test
{

namespace
{

const char* const kSmallCameras = R"({"interfaces": [
    {"id": "net", "type": "GEV", "displayName": "Test network", "cameras": [
        {"model": "One", "width": 64, "height": 48, "maxFrameRate": 2000,
         "userDefinedName": "left", "ip": "192.168.7.5", "mac": "02:5a:43:01:00:2a"},
        {"model": "Two", "width": 64, "height": 48, "maxFrameRate": 2000}]},
    {"id": "link", "type": "CL", "cameras": [
        {"model": "Three", "width": 64, "height": 48, "maxFrameRate": 2000}]}]})";

std::string configurationFile()
{
    return testing::TempDir() + "producer_test_" + std::to_string(getpid()) + ".json";
}

std::uint64_t numberAfter(const std::string& text, const std::string& tag, std::size_t from,
                          std::size_t to)
{
    const std::size_t place = text.find(tag, from);
    if (place == std::string::npos || place >= to) {
        return 0;
    }
    return std::strtoull(&text[text.find('>', place) + 1], nullptr, 0);
}

} // namespace

std::string readDescription(const FunctionTable& functions, Handle port)
{
    std::string url = askText(functions.GCGetPortURLInfo, port, 0U, std::int32_t{kUrlInfoUrl});
    std::size_t place = url.find(';');
    EXPECT_EQ(url.substr(0, 6), "local:");
    char* end = nullptr;
    const std::uint64_t address = std::strtoull(&url[place + 1], &end, 16);
    std::size_t size = std::strtoull(end + 1, nullptr, 16);
    std::string xml(size, '\0');
    EXPECT_EQ(functions.GCReadPort(port, address, xml.data(), &size), err::kSuccess);
    EXPECT_EQ(size, xml.size());
    return xml;
}

Registers::Registers(const FunctionTable& functions, Handle port)
    : functions_(&functions), port_(port), xml_(readDescription(functions, port))
{
}

Registers::Place Registers::place(const std::string& name, std::size_t index) const
{
    std::size_t begin = xml_.find("Reg Name=\"" + name + "Reg\"");
    if (begin == std::string::npos) {
        begin = xml_.find("<StringReg Name=\"" + name + "\"");
    }
    if (begin == std::string::npos) {
        ADD_FAILURE() << "no register of " << name;
        return {};
    }
    const std::size_t end = xml_.find("</", xml_.find("<pPort>", begin));
    std::uint64_t stride = 0;
    const std::size_t offset = xml_.find("Offset=\"", begin);
    if (offset < end) {
        stride = std::strtoull(&xml_[offset + 8], nullptr, 0);
    }
    return {numberAfter(xml_, "<Address>", begin, end) + index * stride,
            numberAfter(xml_, "<Length>", begin, end)};
}

Error Registers::write(const std::string& name, std::uint64_t value, std::size_t index) const
{
    const Place where = place(name, index);
    unsigned char bytes[8] = {};
    for (std::size_t i = 0; i < where.length && i < sizeof bytes; ++i) {
        bytes[where.length - 1 - i] = static_cast<unsigned char>(value >> (8 * i) & 0xff);
    }
    std::size_t size = where.length;
    return functions_->GCWritePort(port_, where.address, bytes, &size);
}

Error Registers::tryRead(const std::string& name, std::uint64_t* value, std::size_t index) const
{
    const Place where = place(name, index);
    unsigned char bytes[8] = {};
    std::size_t size = where.length;
    const Error code = functions_->GCReadPort(port_, where.address, bytes, &size);
    *value = 0;
    for (std::size_t i = 0; i < where.length && i < sizeof bytes; ++i) {
        *value = *value << 8 | bytes[i];
    }
    return code;
}

std::uint64_t Registers::read(const std::string& name, std::size_t index) const
{
    std::uint64_t value = 0;
    EXPECT_EQ(tryRead(name, &value, index), err::kSuccess) << name;
    return value;
}

std::string Registers::readText(const std::string& name, std::size_t index) const
{
    const Place where = place(name, index);
    std::string bytes(where.length, '\0');
    std::size_t size = where.length;
    EXPECT_EQ(functions_->GCReadPort(port_, where.address, bytes.data(), &size), err::kSuccess);
    return bytes.c_str();
}

std::uint64_t Registers::entry(const std::string& name, const std::string& entry) const
{
    const std::size_t begin = xml_.find("<Enumeration Name=\"" + name + "\"");
    const std::size_t end = xml_.find("</Enumeration>", begin);
    std::size_t place = xml_.find("EnumEntry Name=\"" + entry + "\"", begin);
    if (place < end) { // the entries stand inside
        return numberAfter(xml_, "<Value>", place, end);
    }
    ADD_FAILURE() << "no entry " << entry << " of " << name;
    return 0;
}

Error Registers::writeEntry(const std::string& name, const std::string& wanted,
                            std::size_t index) const
{
    return write(name, entry(name, wanted), index);
}

Error Registers::writeReal(const std::string& name, double value) const
{
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    return write(name, bits);
}

ProducerTest::ProducerTest() : f(simulator::producerTable()) {}

void ProducerTest::configure(const std::string& json)
{
    std::ofstream(configurationFile()) << json;
    setenv("ZELCAM_SIMULATOR", configurationFile().c_str(), 1);
}

void ProducerTest::SetUp()
{
    configure(kSmallCameras);
    ASSERT_EQ(f.GCInitLib(), err::kSuccess);
    openSystem();
    net = openInterface("net");
    link = openInterface("link");
}

void ProducerTest::TearDown()
{
    const Error code = f.GCCloseLib();
    EXPECT_TRUE(code == err::kSuccess || code == err::kNotInitialized);
    std::remove(configurationFile().c_str());
}

void ProducerTest::openSystem()
{
    ASSERT_EQ(f.TLOpen(&system), err::kSuccess);
    ASSERT_EQ(f.TLUpdateInterfaceList(system, nullptr, 0), err::kSuccess);
}

Handle ProducerTest::openInterface(const std::string& id)
{
    Handle interface = nullptr;
    EXPECT_EQ(f.TLOpenInterface(system, id.c_str(), &interface), err::kSuccess);
    EXPECT_EQ(f.IFUpdateDeviceList(interface, nullptr, 0), err::kSuccess);
    return interface;
}

Session ProducerTest::openCamera(Handle interface, const std::string& id)
{
    Session session;
    EXPECT_EQ(f.IFOpenDevice(interface, id.c_str(), kDeviceAccessExclusive, &session.device),
              err::kSuccess);
    EXPECT_EQ(f.DevGetPort(session.device, &session.port), err::kSuccess);
    EXPECT_EQ(f.DevOpenDataStream(session.device, "Stream0", &session.stream), err::kSuccess);
    session.camera = Registers(f, session.port);
    return session;
}

Session ProducerTest::openStream(const std::string& model, std::size_t count)
{
    Session session = model == "Three" ? openCamera(link, kThreeId)
                                       : openCamera(net, model == "One" ? kOneId : kTwoId);
    const std::size_t payload = session.camera.read("PayloadSize");
    for (std::size_t i = 0; i < count; ++i) {
        Handle buffer = nullptr;
        EXPECT_EQ(f.DSAllocAndAnnounceBuffer(session.stream, payload, nullptr, &buffer),
                  err::kSuccess);
        EXPECT_EQ(f.DSQueueBuffer(session.stream, buffer), err::kSuccess);
        session.buffers.push_back(buffer);
    }
    EXPECT_EQ(f.GCRegisterEvent(session.stream, kEventNewBuffer, &session.event), err::kSuccess);
    return session;
}

Error ProducerTest::start(const Session& session, std::uint64_t frames) const
{
    const Error code = f.DSStartAcquisition(session.stream, kAcqStartDefault, frames);
    return code != err::kSuccess ? code : session.camera.write("AcquisitionStart", 1);
}

Error ProducerTest::tryBuffer(const Session& session, std::uint64_t timeoutMs, Handle* buffer) const
{
    NewBufferData data{};
    std::size_t size = sizeof data;
    const Error code = f.EventGetData(session.event, &data, &size, timeoutMs);
    *buffer = data.buffer;
    return code;
}

Handle ProducerTest::nextBuffer(const Session& session) const
{
    Handle buffer = nullptr;
    EXPECT_EQ(tryBuffer(session, 5000, &buffer), err::kSuccess);
    return buffer;
}

} // namespace producer_test
