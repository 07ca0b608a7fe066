// Packets of GigE Vision against bytes written by hand, and read back.
#include "gige/wire/bootstrap.h"
#include "gige/wire/discovery.h"
#include "gige/wire/events.h"
#include "gige/wire/leader.h"
#include "gige/wire/xml_url.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{

using namespace gige::wire;

std::vector<std::uint8_t> hex(const std::string& text)
{
    std::vector<std::uint8_t> bytes;
    std::size_t at = 0;
    while (at < text.size()) {
        std::size_t used = 0;
        bytes.push_back(static_cast<std::uint8_t>(std::stoi(text.substr(at), &used, 16)));
        at += used + 1;
    }
    return bytes;
}

std::vector<std::uint8_t> vectorOf(Bytes bytes) { return {bytes.data, bytes.data + bytes.size}; }
std::vector<std::uint8_t> vectorOf(const Datagram& datagram) { return vectorOf(datagram.bytes()); }

CommandPacket commandOf(const Datagram& datagram)
{
    CommandPacket packet;
    EXPECT_TRUE(parseCommand(datagram.bytes(), &packet));
    return packet;
}

AckPacket ackOf(const Datagram& datagram)
{
    AckPacket packet;
    EXPECT_TRUE(parseAck(datagram.bytes(), &packet));
    return packet;
}

// Bytes seen between cameras and other makers' clients.
TEST(Gvcp, CommandsHaveTheBytesThatOthersSend)
{
    EXPECT_EQ(vectorOf(makeCommand(Command::Discovery, 0x11, 0xFFFF)),
              hex("42 11 00 02 00 00 ff ff"));
    const std::uint32_t privilege = 0xA00;
    EXPECT_EQ(vectorOf(makeReadRegisters(0x3D, &privilege, 1)),
              hex("42 01 00 80 00 04 00 3d 00 00 0a 00"));
    const std::uint32_t two = 2;
    EXPECT_EQ(vectorOf(makeReadRegistersAck(0x3D, 0, &two, 1)),
              hex("00 00 00 81 00 04 00 3d 00 00 00 02"));
    const auto one = hex("01 00 00 00");
    EXPECT_EQ(vectorOf(makeWriteMemory(0x3E, 0x20000010, {one.data(), one.size()})),
              hex("42 01 00 86 00 08 00 3e 20 00 00 10 01 00 00 00"));
    ResendRequest resend;
    resend.blockId = 66;
    resend.first = resend.last = 1007;
    EXPECT_EQ(vectorOf(makePacketResend(0x1F70, resend)),
              hex("42 00 00 40 00 0c 1f 70 00 00 00 42 00 00 03 ef 00 00 03 ef"));
    resend.extended = true;
    resend.last = ResendRequest::kToEnd;
    EXPECT_EQ(vectorOf(makePacketResend(1, resend)),
              hex("42 10 00 40 00 14 00 01 00 00 00 00 00 00 03 ef ff ff ff ff "
                  "00 00 00 00 00 00 00 42"));
    EXPECT_EQ(vectorOf(makeReadMemory(2, {0x200, 512})),
              hex("42 01 00 84 00 08 00 02 00 00 02 00 00 00 02 00"));
    const RegisterValue value{0xA00, 2};
    EXPECT_EQ(vectorOf(makeWriteRegisters(3, &value, 1)),
              hex("42 01 00 82 00 08 00 03 00 00 0a 00 00 00 00 02"));
    EXPECT_EQ(vectorOf(makeWriteAck(Command::WriteRegister, 3, status::kAccessDenied, 0)),
              hex("80 06 00 83 00 04 00 03 00 00 00 00"));
    EXPECT_EQ(vectorOf(makePendingAck(4, 1500)), hex("00 00 00 89 00 04 00 04 00 00 05 dc"));
    Action action{1, 2, 3, true, 0x0102030405060708};
    EXPECT_EQ(vectorOf(makeAction(5, action, kFlagAckRequired)),
              hex("42 81 01 00 00 14 00 05 00 00 00 01 00 00 00 02 00 00 00 03 "
                  "01 02 03 04 05 06 07 08"));
    const Datagram force =
        makeForceIp(7, {{2, 0x5a, 0x43, 0, 0, 9}, 0xC0A80001, 0xFFFFFF00, 0xC0A800FE}, 0x11);
    ASSERT_EQ(force.size, 64U);
    EXPECT_EQ(vectorOf(force.bytes().first(16)),
              hex("42 11 00 04 00 38 00 07 00 00 02 5a 43 00 00 09"));
    EXPECT_EQ(force.bytes().u32(28), 0xC0A80001U);
    EXPECT_EQ(force.bytes().u32(44), 0xFFFFFF00U);
    EXPECT_EQ(force.bytes().u32(60), 0xC0A800FEU);
}

TEST(Gvcp, TheOtherSideReadsWhatWasSent)
{
    ForceIp force{{1, 2, 3, 4, 5, 6}, 7, 8, 9};
    ForceIp forced;
    ASSERT_TRUE(readForceIp(commandOf(makeForceIp(1, force, 0x11)).payload, &forced));
    EXPECT_EQ(forced.mac, force.mac);
    EXPECT_EQ(forced.address, 7U);
    EXPECT_EQ(forced.gateway, 9U);
    ResendRequest request;
    ASSERT_TRUE(readPacketResend(
        commandOf(makePacketResend(1, {2, 70000, 5, ResendRequest::kToEnd, false})), &request));
    EXPECT_EQ(request.channel, 2U);
    EXPECT_EQ(request.blockId, 70000U & 0xFFFFU);
    EXPECT_EQ(request.last, ResendRequest::kToEnd);
    ASSERT_TRUE(
        readPacketResend(commandOf(makePacketResend(1, {2, 1ULL << 40U, 5, 6, true})), &request));
    EXPECT_EQ(request.blockId, 1ULL << 40U);
    EXPECT_EQ(request.last, 6U);
    std::vector<RegisterValue> values(kMaxWriteRegisters + 1, {4, 5});
    values[kMaxWriteRegisters - 1] = {6, 7};
    const Datagram written = makeWriteRegisters(1, values.data(), kMaxWriteRegisters);
    ASSERT_EQ(writeRegisterCount(commandOf(written).payload), kMaxWriteRegisters);
    EXPECT_EQ(registerToWrite(commandOf(written).payload, kMaxWriteRegisters - 1).value, 7U);
    EXPECT_EQ(makeWriteRegisters(1, values.data(), values.size()).size, 0U) << "too many";
    const std::vector<std::uint8_t> block(kMemoryBlock, 0xAB);
    const Datagram memory = makeReadMemoryAck(9, 0x1000, {block.data(), block.size()});
    Bytes data;
    EXPECT_TRUE(readMemoryAck(ackOf(memory), {0x1000, kMemoryBlock}, &data));
    EXPECT_EQ(vectorOf(data), block);
    EXPECT_FALSE(readMemoryAck(ackOf(memory), {0x1004, kMemoryBlock}, &data)) << "another address";
    EXPECT_TRUE(ackOf(memory).answers(Command::ReadMemory, 9));
    EXPECT_FALSE(ackOf(memory).answers(Command::ReadRegister, 9));
    EXPECT_EQ(readPendingAck(ackOf(makePendingAck(1, 77))), 77U);
    Action action;
    ASSERT_TRUE(readAction(commandOf(makeAction(1, {1, 2, 3, true, 4}, 0)), &action));
    EXPECT_EQ(action.time, 4U);
}

TEST(Gvcp, WhatIsCutOrHasTheWrongKeyIsNoPacket)
{
    const Datagram whole = makeReadMemory(2, {0x200, 512});
    CommandPacket command;
    AckPacket ack;
    for (std::size_t size = 0; size < whole.size; ++size) {
        EXPECT_FALSE(parseCommand(whole.bytes().first(size), &command)) << size;
    }
    EXPECT_FALSE(parseAck(whole.bytes(), &ack));
    EXPECT_FALSE(parseCommand(makePendingAck(1, 1).bytes(), &command));
    EXPECT_EQ(readRegisterCount(whole.bytes().first(6)), 0U);
}

TEST(Discovery, IsWrittenAtItsRegistersAndRead)
{
    DiscoveryRecord record;
    record.mac = {2, 0x5a, 0x43, 0, 0, 9};
    record.address = 0x7F000001;
    record.mask = 0xFF000000;
    record.vendor = "A vendor";
    record.model = std::string(40, 'm'); // cut to its field, which has no closing NUL then
    record.serialNumber = "S\xE9rie";    // Latin-1
    record.userDefinedName = "name";
    std::array<std::uint8_t, kDiscoverySize> bytes{};
    Writer writer(bytes.data(), bytes.size());
    ASSERT_EQ(writeDiscovery(record, &writer), kDiscoverySize);
    EXPECT_EQ(Bytes(bytes.data(), 8).u32(0), 0x00010002U);
    EXPECT_EQ(std::memcmp(&bytes[0x0A], record.mac.data(), 6), 0);
    EXPECT_EQ(bytes[0x24], 127);
    EXPECT_EQ(bytes[0x34], 255);
    EXPECT_EQ(std::memcmp(&bytes[0x48], "A vendor", 9), 0);
    EXPECT_EQ(std::memcmp(&bytes[0xE8], "name", 5), 0);
    DiscoveryRecord read;
    ASSERT_TRUE(readDiscovery({bytes.data(), bytes.size()}, &read));
    EXPECT_EQ(macText(read.mac), "02:5a:43:00:00:09");
    EXPECT_EQ(read.model, std::string(32, 'm'));
    EXPECT_EQ(read.serialNumber, "S\xC3\xA9rie");
    EXPECT_FALSE(readDiscovery({bytes.data(), bytes.size() - 1}, &read));
}

TEST(Events, SeveralInOnePacketAndTheirData)
{
    const auto three = hex("00 00 90 01 ff ff 00 05 00 00 00 00 00 00 00 07 "
                           "00 00 90 02 00 00 00 06 00 00 00 01 00 00 00 00 "
                           "00 00 90 03 00 00 00 07 00 00 00 00 00 00 00 09");
    const Datagram whole = makeCommand(Command::Event, 1, 3, {three.data(), three.size()});
    CommandPacket packet = commandOf(whole);
    EventReader events(packet);
    Event event;
    ASSERT_TRUE(events.next(&event));
    EXPECT_EQ(event.id, 0x9001U);
    EXPECT_EQ(event.channel, 0xFFFFU);
    ASSERT_TRUE(events.next(&event));
    EXPECT_EQ(event.blockId, 6U);
    EXPECT_EQ(event.timestamp, 0x100000000U);
    ASSERT_TRUE(events.next(&event));
    EXPECT_FALSE(events.next(&event));
    packet.payload.size -= 1;
    EXPECT_FALSE(EventReader(packet).sound());

    for (const bool extended : {false, true}) {
        const auto data = hex("01 02 03 04");
        Event sent;
        sent.id = 0x9001;
        sent.blockId = extended ? 1ULL << 33U : 4;
        sent.timestamp = 99;
        sent.data = {data.data(), data.size()};
        const Datagram datagram = makeEvent(4, sent, extended, true);
        EventReader reader(commandOf(datagram));
        ASSERT_TRUE(reader.next(&event));
        EXPECT_EQ(event.blockId, sent.blockId);
        EXPECT_EQ(event.timestamp, 99U);
        EXPECT_EQ(vectorOf(event.data), data);
        EXPECT_EQ(event.record.size, (extended ? 24U : 16U) + 4U);
        EXPECT_FALSE(reader.next(&event));
    }
}

TEST(Gvsp, HeadersOfBothForms)
{
    const auto standard = hex("00 00 00 42 03 00 03 ef");
    StreamHeader header;
    ASSERT_TRUE(parseStreamHeader({standard.data(), standard.size()}, &header));
    EXPECT_EQ(header.format, Format::Payload);
    EXPECT_EQ(header.blockId, 66U);
    EXPECT_EQ(header.packetId, 1007U);
    EXPECT_EQ(header.size(), 8U);
    const auto wide = hex("80 12 00 01 82 00 00 00 00 00 00 01 00 00 00 02 00 00 00 07");
    ASSERT_TRUE(parseStreamHeader({wide.data(), wide.size()}, &header));
    EXPECT_EQ(header.format, Format::Trailer);
    EXPECT_TRUE(header.extended && header.isError());
    EXPECT_EQ(header.flags, kPacketResent);
    EXPECT_EQ(header.blockId, 0x100000002U);
    EXPECT_EQ(header.packetId, 7U);
    EXPECT_FALSE(parseStreamHeader({wide.data(), 19}, &header));
    std::array<std::uint8_t, 20> bytes{};
    for (const bool extended : {false, true}) {
        Writer writer(bytes.data(), bytes.size());
        StreamHeader leader;
        leader.format = Format::Leader;
        leader.extended = extended;
        leader.count = 3;
        leader.blockId = 9;
        writeStreamHeader(leader, &writer);
        ASSERT_TRUE(parseStreamHeader({bytes.data(), writer.result()}, &header));
        EXPECT_EQ(bytes[7], 3U) << "the count's place is the same in both forms";
        EXPECT_EQ(header.count, 3U);
        EXPECT_EQ(header.packetId, 0U);
    }
    EXPECT_EQ(packetData(1500, false), 1464U);
    EXPECT_EQ(packetData(1500, true), 1452U);
    EXPECT_EQ(packetData(20, true), 0U);
}

TEST(Leaders, OfEveryTypeAreReadAsTheyWereWritten)
{
    Leader leader;
    const auto body = hex("00 00 00 01 00 00 00 00 00 00 00 05 01 08 00 01 "
                          "00 00 02 80 00 00 01 e0 00 00 00 10 00 00 00 20 "
                          "00 03 00 04");
    ASSERT_TRUE(readLeader({}, {body.data(), body.size()}, &leader));
    EXPECT_EQ(leader.timestamp, 5U);
    EXPECT_EQ(leader.image.pixelFormat, 0x01080001U);
    EXPECT_EQ(leader.image.width, 640U);
    EXPECT_EQ(leader.image.height, 480U);
    EXPECT_EQ(leader.image.yOffset, 32U);
    EXPECT_EQ(leader.image.yPadding, 4U);

    std::array<std::uint8_t, 512> bytes{};
    for (std::uint16_t type = 1; type <= 11; ++type) {
        leader.payloadType = type;
        leader.dataSize = 0x123456789A;
        leader.fileName = "file.bin";
        std::array<PartEntry, 2> parts;
        parts[1].length = 0x0102030405;
        parts[1].image.height = 77;
        leader.partCount = 2;
        StreamHeader header;
        header.count = 2;
        Writer writer(bytes.data(), bytes.size());
        writeLeader(leader, parts.data(), &writer);
        const Bytes written(bytes.data(), writer.result());
        ASSERT_GE(written.size, leaderSize(type)) << type;
        Leader read;
        ASSERT_TRUE(readLeader(header, written, &read)) << type;
        EXPECT_FALSE(readLeader(header, written.first(leaderSize(type) - 1), &read)) << type;
        ASSERT_TRUE(readLeader(header, written, &read));
        EXPECT_EQ(read.payloadType, type);
        if (read.hasImage) {
            EXPECT_EQ(read.image.width, 640U) << type;
            EXPECT_EQ(read.image.yPadding, 4U) << type;
        }
        if (type == payload::kMultiPart) {
            ASSERT_EQ(read.partCount, 2U);
            EXPECT_EQ(partEntry(read, 1).length, 0x0102030405U);
            EXPECT_EQ(partEntry(read, 1).image.height, 77U);
            EXPECT_FALSE(readLeader(header, written.first(written.size - 1), &read));
        } else if (type == payload::kRaw || type == payload::kFile || type == payload::kGenDc) {
            EXPECT_EQ(read.dataSize, 0x123456789AU) << type;
        }
        if (type == payload::kFile) {
            EXPECT_EQ(read.fileName, "file.bin");
        }
    }
}

TEST(Trailers, TellLinesAndChunks)
{
    const auto image = hex("00 00 00 01 00 00 01 e0");
    Trailer trailer;
    ASSERT_TRUE(readTrailer({image.data(), image.size()}, &trailer));
    EXPECT_TRUE(trailer.hasHeight);
    EXPECT_EQ(trailer.height, 480U);
    ASSERT_TRUE(readTrailer({image.data(), 4}, &trailer));
    EXPECT_FALSE(trailer.hasHeight);
    EXPECT_FALSE(readTrailer({image.data(), 3}, &trailer));
    std::array<std::uint8_t, 64> bytes{};
    for (const int type : {0x4001, 0x0004, 0x0005, 0x4002}) {
        Writer writer(bytes.data(), bytes.size());
        Trailer sent;
        sent.payloadType = static_cast<std::uint16_t>(type);
        sent.height = 480;
        sent.chunkLength = 1234;
        sent.chunkLayoutId = 6;
        writeTrailer(sent, &writer);
        EXPECT_EQ(writer.result(), trailerSize(sent.payloadType)) << type;
        ASSERT_TRUE(readTrailer({bytes.data(), writer.result()}, &trailer));
        EXPECT_TRUE(trailer.hasChunkLength);
        EXPECT_EQ(trailer.chunkLength, 1234U) << type;
        EXPECT_EQ(trailer.hasHeight, type == 0x4001 || type == 0x0005) << type;
    }
}

TEST(Leaders, AllInOnePacket)
{
    std::array<std::uint8_t, 128> bytes{};
    Writer writer(bytes.data(), bytes.size());
    Leader leader;
    leader.image.width = 4;
    leader.image.height = 1;
    writeLeader(leader, nullptr, &writer);
    Trailer trailer;
    trailer.height = 1;
    writeTrailer(trailer, &writer);
    writer.u32(0x01020304);
    Bytes data;
    ASSERT_TRUE(readAllIn({}, {bytes.data(), writer.result()}, &leader, &trailer, &data));
    EXPECT_EQ(vectorOf(data), hex("01 02 03 04"));
    EXPECT_FALSE(readAllIn({}, {bytes.data(), 40}, &leader, &trailer, &data));
}

TEST(XmlUrls, LocalOnesInEveryoneSSpellingAndNoOthers)
{
    struct Case {
        const char* text;
        UrlKind kind;
        const char* name;
        std::uint32_t address;
        std::uint32_t length;
    };
    for (const Case& c :
         {Case{"Local:Name.zip;100000;19596", UrlKind::Local, "Name.zip", 0x100000, 0x19596},
          Case{"local:Name.xml;a000;4871a?SchemaVersion=1.1.0", UrlKind::Local, "Name.xml", 0xA000,
               0x4871A},
          Case{" Local:///N.xml; 0xA000; 0x10  ", UrlKind::Local, "N.xml", 0xA000, 0x10},
          Case{"Local:N.xml;fffffff0;10", UrlKind::Local, "N.xml", 0xFFFFFFF0, 0x10},
          Case{"Local:N.xml;fffffff0;11", UrlKind::Foreign, "", 0, 0},
          Case{"Local:N.xml;100000000;1", UrlKind::Foreign, "", 0, 0},
          Case{"Local:N.xml;0;0", UrlKind::Foreign, "", 0, 0},
          Case{"Local:N.xml;12", UrlKind::Foreign, "", 0, 0},
          Case{"Local:N.xml;-1;+2", UrlKind::Foreign, "", 0, 0},
          Case{"File:///etc/passwd", UrlKind::Foreign, "", 0, 0},
          Case{"http://a/b.xml", UrlKind::Foreign, "", 0, 0},
          Case{"  ", UrlKind::Empty, "", 0, 0}}) {
        const XmlUrl url = parseXmlUrl(c.text);
        EXPECT_EQ(url.kind, c.kind) << c.text;
        if (c.kind == UrlKind::Local) {
            EXPECT_EQ(url.name, c.name);
            EXPECT_EQ(url.address, c.address);
            EXPECT_EQ(url.length, c.length);
        }
    }
    EXPECT_EQ(makeXmlUrl("N.zip", 0x100000, 0x19596), "Local:N.zip;100000;19596");
}

} // namespace
