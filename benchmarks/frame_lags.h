// How long after a frame's last packet the frame is handed over.
#pragma once

#include <arpa/inet.h>
#include <linux/filter.h>
#include <linux/if_ether.h>
#include <net/if.h>
#include <netpacket/packet.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <map>
#include <thread>
#include <vector>

/// Notes the system's receive time of each trailer that an adapter hands over, on a thread of its
/// own, and what loop() tells of frames. Only trailers pass the filter, so that it costs next to
/// nothing. Without the right to packet sockets there are no figures. The frames' last payload
/// packet must be shorter than the others, so that no trailer is joined to it.
class FrameLags
{
public:
    /// `wakes`: told are not the frames but how late this thread itself wakes with each trailer:
    /// what the machine costs whoever waits.
    FrameLags(const char* adapter, bool wakes) : wakes_(wakes)
    {
        constexpr auto kNetwork = static_cast<std::uint32_t>(SKF_NET_OFF);
        // UDP, and the trailer's format behind headers of 20 and 8 bytes.
        sock_filter code[] = {{BPF_LD | BPF_ABS | BPF_B, 0, 0, kNetwork + 9},
                              {BPF_JMP | BPF_JEQ | BPF_K, 0, 3, 17},
                              {BPF_LD | BPF_ABS | BPF_B, 0, 0, kNetwork + 32},
                              {BPF_JMP | BPF_JEQ | BPF_K, 0, 1, 2},
                              {BPF_RET | BPF_K, 0, 0, 64},
                              {BPF_RET | BPF_K, 0, 0, 0}};
        const sock_fprog program{6, code};
        sockaddr_ll where{};
        where.sll_family = AF_PACKET;
        where.sll_protocol = htons(ETH_P_IP);
        where.sll_ifindex = static_cast<int>(if_nametoindex(adapter));
        const int on = 1;
        fd_ = ::socket(AF_PACKET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        ::setsockopt(fd_, SOL_SOCKET, SO_ATTACH_FILTER, &program, sizeof program);
        ::setsockopt(fd_, SOL_SOCKET, SO_TIMESTAMPNS, &on, sizeof on);
        ::bind(fd_, reinterpret_cast<const sockaddr*>(&where), sizeof where);
        thread_ = std::thread([this] { run(); });
    }
    ~FrameLags() { end(); }
    FrameLags(const FrameLags&) = delete;
    FrameLags& operator=(const FrameLags&) = delete;

    /// A frame with this number was handed over now.
    void frame(std::uint64_t number) { frames_.emplace_back(number & 0xFFFF, now()); }

    /// Seconds at a part (0 to 1) of all frames, sorted; negative: no figures. Ends the noting.
    double at(double part)
    {
        end();
        std::vector<double> lags(wakeLags_);
        for (const auto& [number, time] : frames_) {
            const auto last = trailers_.find(number);
            if (!wakes_ && last != trailers_.end() && time > last->second) {
                lags.push_back(1e-9 * static_cast<double>(time - last->second));
            }
        }
        if (lags.empty()) {
            return -1.0;
        }
        const auto place = static_cast<std::size_t>(part * static_cast<double>(lags.size() - 1));
        std::nth_element(lags.begin(), lags.begin() + static_cast<std::ptrdiff_t>(place),
                         lags.end());
        return lags[place];
    }

private:
    static std::int64_t now()
    {
        timespec time{};
        clock_gettime(CLOCK_REALTIME, &time);
        return time.tv_sec * std::int64_t{1000000000} + time.tv_nsec;
    }

    void end()
    {
        ending_ = true;
        if (thread_.joinable()) {
            thread_.join();
            ::close(fd_);
        }
    }

    /// The times are the system's, so that the thread may come late: one that wakes with every
    /// trailer would be in the way of the threads whose lags are told.
    void run()
    {
        constexpr timespec kNap{0, 20'000'000};
        while (fd_ >= 0 && !ending_) {
            if (wakes_) {
                pollfd readable{fd_, POLLIN, 0};
                ::poll(&readable, 1, 20);
            } else {
                ::nanosleep(&kNap, nullptr);
            }
            while (takeOne()) {
            }
        }
    }

    /// False when nothing is waiting.
    bool takeOne()
    {
        std::uint8_t packet[64];
        alignas(cmsghdr) char control[CMSG_SPACE(sizeof(timespec))];
        iovec data{packet, sizeof packet};
        msghdr message{};
        message.msg_iov = &data;
        message.msg_iovlen = 1;
        message.msg_control = control;
        message.msg_controllen = sizeof control;
        const ssize_t size = ::recvmsg(fd_, &message, MSG_DONTWAIT);
        const cmsghdr* const part = size < 32 ? nullptr : CMSG_FIRSTHDR(&message);
        if (part != nullptr) {
            timespec time{};
            std::memcpy(&time, CMSG_DATA(part), sizeof time);
            const std::uint64_t number = packet[30] << 8U | packet[31];
            const std::int64_t came = time.tv_sec * std::int64_t{1000000000} + time.tv_nsec;
            trailers_.emplace(number, came); // Sent again: the first one counts.
            if (wakes_) {
                wakeLags_.push_back(1e-9 * static_cast<double>(now() - came));
            }
        }
        return size >= 0;
    }

    const bool wakes_;
    int fd_ = -1;
    std::atomic<bool> ending_{false};
    std::map<std::uint64_t, std::int64_t> trailers_;
    std::vector<std::pair<std::uint64_t, std::int64_t>> frames_;
    std::vector<double> wakeLags_;
    std::thread thread_;
};
