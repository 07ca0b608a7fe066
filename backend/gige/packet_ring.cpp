#include "gige/packet_ring.h"

#include "base/log.h"

#include <arpa/inet.h>
#include <linux/filter.h>
#include <linux/if_ether.h>
#include <linux/if_packet.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/utsname.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <initializer_list>
#include <iterator>

namespace gige
{

namespace
{

// Holds the largest joined datagrams, and is handed over when it is full or its time is up.
constexpr std::size_t kBlock = std::size_t{128} * 1024;
constexpr std::size_t kFewestBlocks = 4;
constexpr unsigned kRetireMs = 1;
constexpr unsigned kFrame = 2048; // A unit of the interface only: packets lie close together.
constexpr std::size_t kIpHeader = 20;
constexpr std::size_t kUdpHeader = 8;
constexpr std::uint16_t kFragment = 0x3FFF;

/// What stands before a packet that may be joined (the system's header of it is not C++).
struct JoinedHeader {
    std::uint8_t flags;
    std::uint8_t type; ///< 0: a single packet.
    std::uint16_t headerSize;
    std::uint16_t segment;
    std::uint16_t checksumStart;
    std::uint16_t checksumOffset;
};
static_assert(sizeof(JoinedHeader) == 10, "as the system lays it out");

/// Before this one the system drops joined datagrams when it is asked for their sizes.
constexpr std::array<int, 2> kTellsJoined{6, 2};

bool tellsJoined()
{
    utsname name{};
    std::array<int, 2> version{};
    return ::uname(&name) == 0 &&
           std::sscanf(name.release, "%d.%d", version.data(), &version[1]) == 2 &&
           version >= kTellsJoined;
}

/// The filter as the system's program; each condition skips to the end when it is not met.
class Program
{
public:
    explicit Program(const DatagramFilter& filter)
    {
        constexpr auto kNetwork = static_cast<std::uint32_t>(SKF_NET_OFF);
        load(BPF_B, kNetwork + 9);
        expect(IPPROTO_UDP);
        load(BPF_W, kNetwork + 12);
        expect(filter.source);
        load(BPF_W, kNetwork + 16);
        expect(filter.destination);
        load(BPF_H, kNetwork + 6);
        add(BPF_ALU | BPF_AND | BPF_K, kFragment);
        expect(0);
        load(BPF_B, kNetwork);
        add(BPF_ALU | BPF_AND | BPF_K, 0xF);
        add(BPF_ALU | BPF_LSH | BPF_K, 2);
        add(BPF_MISC | BPF_TAX, 0); // X: bytes of the IP header.
        add(BPF_LD | BPF_IND | BPF_H, kNetwork + 2);
        expect(filter.destinationPort);
        if (filter.sourcePort != 0) {
            add(BPF_LD | BPF_IND | BPF_H, kNetwork);
            expect(filter.sourcePort);
        }
        add(BPF_RET | BPF_K, 0xFFFFFFFFU);
        add(BPF_RET | BPF_K, 0);
        for (std::size_t i = 0; i < size_; ++i) {
            if (code_[i].code == (BPF_JMP | BPF_JEQ | BPF_K)) {
                code_[i].jf = static_cast<std::uint8_t>(size_ - 2 - i);
            }
        }
    }

    bool attach(int fd)
    {
        const sock_fprog program{static_cast<std::uint16_t>(size_), code_.data()};
        return ::setsockopt(fd, SOL_SOCKET, SO_ATTACH_FILTER, &program, sizeof program) == 0;
    }

private:
    void add(int code, std::uint32_t value)
    {
        code_.at(size_++) = {static_cast<std::uint16_t>(code), 0, 0, value};
    }
    void load(int size, std::uint32_t offset) { add(BPF_LD | BPF_ABS | size, offset); }
    void expect(std::uint32_t value) { add(BPF_JMP | BPF_JEQ | BPF_K, value); }

    std::array<sock_filter, 24> code_{};
    std::size_t size_ = 0;
};

std::uint32_t addWords(std::uint64_t sum, wire::Bytes bytes)
{
    std::size_t at = 0;
    for (; at + 4 <= bytes.size; at += 4) {
        std::uint32_t word = 0;
        std::memcpy(&word, bytes.data + at, sizeof word);
        sum += word;
    }
    if (at < bytes.size) {
        std::uint32_t word = 0; // As if zeros followed.
        std::memcpy(&word, bytes.data + at, bytes.size - at);
        sum += word;
    }
    while ((sum >> 16U) != 0) {
        sum = (sum & 0xFFFFU) + (sum >> 16U);
    }
    return static_cast<std::uint32_t>(sum);
}

/// Whether a datagram's checksum, if it has one, is right. `udp` begins with its header.
bool isSound(const std::uint8_t* ip, wire::Bytes udp)
{
    if (udp.u16(6) == 0) {
        return true;
    }
    std::array<std::uint8_t, 12> pseudo{};
    std::memcpy(pseudo.data(), ip + 12, 8);
    pseudo[9] = IPPROTO_UDP;
    base::storeBig(&pseudo[10], static_cast<std::uint16_t>(udp.size));
    return addWords(addWords(0, {pseudo.data(), pseudo.size()}), udp) == 0xFFFF;
}

template <class Value> bool option(int fd, int level, int name, const Value& value)
{
    return ::setsockopt(fd, level, name, &value, sizeof value) == 0;
}

} // namespace

PacketRing::~PacketRing()
{
    if (memory_ != nullptr) {
        ::munmap(memory_, blocks_ * kBlock);
    }
}

ZelCamErr PacketRing::open(int adapter, const DatagramFilter& filter, std::size_t bytes)
{
    // Without a protocol nothing comes before the filter is there.
    fd_ = base::UniqueFd(::socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!fd_) {
        return errno == EPERM || errno == EACCES ? ZelErr::kGenTLAccessDenied
                                                 : ZelErr::kGenTLResourceExhausted;
    }
    blocks_ = std::max(kFewestBlocks, bytes / kBlock);
    tpacket_req3 request{};
    request.tp_block_size = kBlock;
    request.tp_block_nr = static_cast<unsigned>(blocks_);
    request.tp_frame_size = kFrame;
    request.tp_frame_nr = static_cast<unsigned>(blocks_ * (kBlock / kFrame));
    request.tp_retire_blk_tov = kRetireMs;
    told_ = tellsJoined() && option(fd_.get(), SOL_PACKET, PACKET_VNET_HDR, 1);
    if (!option(fd_.get(), SOL_PACKET, PACKET_VERSION, int{TPACKET_V3}) || !setFilter(filter) ||
        !option(fd_.get(), SOL_PACKET, PACKET_RX_RING, request)) {
        return ZelErr::kGenTLResourceExhausted;
    }
    void* const memory = ::mmap(nullptr, blocks_ * kBlock, PROT_READ | PROT_WRITE,
                                MAP_SHARED | MAP_POPULATE, fd_.get(), 0);
    if (memory == MAP_FAILED) {
        return ZelErr::kGenTLResourceExhausted;
    }
    memory_ = static_cast<std::uint8_t*>(memory);
    sockaddr_ll where{};
    where.sll_family = AF_PACKET;
    where.sll_protocol = htons(ETH_P_IP);
    where.sll_ifindex = adapter;
    return ::bind(fd_.get(), reinterpret_cast<const sockaddr*>(&where), sizeof where) == 0
               ? ZelErr::kOk
               : ZelErr::kGenTLResourceExhausted;
}

bool PacketRing::setFilter(const DatagramFilter& filter)
{
    return Program(filter).attach(fd_.get());
}

std::size_t PacketRing::size() const { return blocks_ * kBlock; }

void* PacketRing::block() const { return memory_ + block_ * kBlock; }

void PacketRing::release()
{
    auto* const header = static_cast<tpacket_block_desc*>(block());
    __atomic_store_n(&header->hdr.bh1.block_status, std::uint32_t{TP_STATUS_KERNEL},
                     __ATOMIC_RELEASE);
    block_ = (block_ + 1) % blocks_;
    open_ = false;
}

bool PacketRing::next(Packet* packet)
{
    for (;;) {
        if (open_ && left_ == 0) {
            release();
        }
        if (!open_) {
            auto* const header = static_cast<tpacket_block_desc*>(block());
            const std::uint32_t status =
                __atomic_load_n(&header->hdr.bh1.block_status, __ATOMIC_ACQUIRE);
            if ((status & TP_STATUS_USER) == 0) {
                return false;
            }
            open_ = true;
            left_ = header->hdr.bh1.num_pkts;
            packet_ =
                static_cast<const std::uint8_t*>(block()) + header->hdr.bh1.offset_to_first_pkt;
            continue;
        }
        const std::uint8_t* const now = packet_;
        tpacket3_hdr header{};
        std::memcpy(&header, now, sizeof header);
        packet_ += header.tp_next_offset;
        --left_;
        if (left_ > 0) {
            // Written on another core: on its way while this one is copied.
            constexpr std::size_t kLine = 64;
            for (std::size_t at = 0; at < header.tp_next_offset; at += kLine) {
                __builtin_prefetch(packet_ + at);
            }
        }
        losing_ = losing_ || (header.tp_status & TP_STATUS_LOSING) != 0;
        if (parse(now, packet)) {
            return true;
        }
    }
}

/// The filter has looked at addresses and ports; lengths are looked at here.
bool PacketRing::parse(const std::uint8_t* begin, Packet* packet) const
{
    tpacket3_hdr header{};
    std::memcpy(&header, begin, sizeof header);
    const std::size_t before = header.tp_net - std::size_t{header.tp_mac};
    if (header.tp_net < header.tp_mac || header.tp_snaplen < before) {
        return false;
    }
    const wire::Bytes ip(begin + header.tp_net, header.tp_snaplen - before);
    const std::size_t ipHeader = std::size_t{ip.u8(0) & 0xFU} * 4;
    const std::size_t total = ip.u16(2);
    // The total length of joined datagrams may be beyond what its 16 bits say.
    const wire::Bytes udp = ip.from(ipHeader).first(total > ipHeader ? total - ipHeader : 0);
    if (ipHeader < kIpHeader || udp.size < kUdpHeader || udp.u16(4) != udp.size) {
        return false;
    }
    JoinedHeader joined{};
    if (told_) {
        std::memcpy(&joined, begin + header.tp_mac - sizeof joined, sizeof joined);
    }
    // Joined ones were looked at when they were joined, or not sent over a wire at all.
    const std::uint32_t checked = TP_STATUS_CSUM_VALID | TP_STATUS_CSUMNOTREADY;
    if ((header.tp_status & checked) == 0 && joined.type == 0 && !isSound(ip.data, udp)) {
        return false;
    }
    packet->sourcePort = udp.u16(0);
    packet->data = udp.from(kUdpHeader);
    packet->segment = joined.type != 0 ? joined.segment : packet->data.size;
    packet->segment = told_ ? std::max<std::size_t>(packet->segment, 1) : 0;
    return true;
}

std::uint32_t PacketRing::takeDrops()
{
    if (!losing_) {
        return 0;
    }
    losing_ = false;
    tpacket_stats_v3 numbers{};
    socklen_t size = sizeof numbers;
    return ::getsockopt(fd_.get(), SOL_PACKET, PACKET_STATISTICS, &numbers, &size) == 0
               ? numbers.tp_drops
               : 0;
}

} // namespace gige
