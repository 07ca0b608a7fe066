// How long after a frame's last packet the frame is handed over.
#pragma once

#include "core_stops.h"

#include <arpa/inet.h>
#include <linux/filter.h>
#include <linux/if_ether.h>
#include <net/if.h>
#include <netpacket/packet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <map>
#include <memory>
#include <thread>
#include <vector>

/// Notes the system's receive time of each trailer that an adapter hands over, on a thread of its
/// own, and what loop() tells of frames. Only trailers pass the filter, so that it costs next to
/// nothing. Without the right to packet sockets there are no figures. The frames' last payload
/// packet must be shorter than the others, so that no trailer is joined to it.
class FrameLags
{
public:
    /// `stops`: notes also when cores were away.
    FrameLags(const char* adapter, bool stops)
        : stops_(stops ? std::make_unique<CoreStops>() : nullptr)
    {
        constexpr auto kNetwork = static_cast<std::uint32_t>(SKF_NET_OFF);
        constexpr std::uint32_t kControlPort = 3956;
        // UDP, none of the camera's answers, and the trailer's format behind headers of 20 and 8
        // bytes.
        sock_filter code[] = {{BPF_LD | BPF_ABS | BPF_B, 0, 0, kNetwork + 9},
                              {BPF_JMP | BPF_JEQ | BPF_K, 0, 5, 17},
                              {BPF_LD | BPF_ABS | BPF_H, 0, 0, kNetwork + 20},
                              {BPF_JMP | BPF_JEQ | BPF_K, 3, 0, kControlPort},
                              {BPF_LD | BPF_ABS | BPF_B, 0, 0, kNetwork + 32},
                              {BPF_JMP | BPF_JEQ | BPF_K, 0, 1, 2},
                              {BPF_RET | BPF_K, 0, 0, 64},
                              {BPF_RET | BPF_K, 0, 0, 0}};
        const sock_fprog program{8, code};
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
    void frame(std::uint64_t number) { frames_.emplace_back(number & 0xFFFF, CoreStops::now()); }

    /// Forgets the frames until now.
    void clear() { frames_.clear(); }

    /// Seconds of all frames, sorted. Ends the noting.
    std::vector<double> all() { return lags(false); }

    /// The same of those that no stop of a core disturbed: cores were away for less than a quarter
    /// of the lag, from a little before the last packet on. Empty where stops are not noted.
    std::vector<double> undisturbed() { return lags(true); }

private:
    // What a stop leaves behind is worked off so long after it, and it may have begun while the
    // watcher slept.
    static constexpr std::int64_t kBefore = CoreStops::kSleep + CoreStops::kLate;

    std::vector<double> lags(bool undisturbed)
    {
        end();
        std::vector<double> result;
        if (undisturbed && (stops_ == nullptr || !stops_->end())) {
            return result;
        }
        for (const auto& [number, time] : frames_) {
            const auto last = trailers_.find(number);
            if (last != trailers_.end() && time > last->second) {
                const std::int64_t lag = time - last->second;
                if (!undisturbed || 4 * stops_->within(last->second - kBefore, time) < lag) {
                    result.push_back(1e-9 * static_cast<double>(lag));
                }
            }
        }
        std::sort(result.begin(), result.end());
        return result;
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
            ::nanosleep(&kNap, nullptr);
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
        }
        return size >= 0;
    }

    const std::unique_ptr<CoreStops> stops_;
    int fd_ = -1;
    std::atomic<bool> ending_{false};
    std::map<std::uint64_t, std::int64_t> trailers_;
    std::vector<std::pair<std::uint64_t, std::int64_t>> frames_;
    std::thread thread_;
};
