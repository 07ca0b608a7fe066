// A device that knows nothing but discovery, FORCEIP and its control register.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <thread>

/// Answers on loopback from a thread of its own between construction and destruction.
class GvcpResponder
{
public:
    struct Manners {
        std::uint16_t status = 0;          ///< Of its answer to FORCEIP.
        bool answers = true;               ///< Acknowledges FORCEIP.
        bool moves = true;                 ///< Takes the address.
        std::chrono::milliseconds away{0}; ///< Time for which it is not there after FORCEIP.
        std::uint32_t privilege = 0;       ///< Its control register.
    };

    GvcpResponder(std::uint32_t address, const Manners& manners);
    ~GvcpResponder();
    GvcpResponder(const GvcpResponder&) = delete;
    GvcpResponder& operator=(const GvcpResponder&) = delete;

    /// Both sockets could be opened.
    bool isReady() const { return ready_; }
    int forceIpCount() const { return forceIps_; }

private:
    void run();
    void handle(int socket);

    const Manners manners_;
    std::uint32_t address_;
    std::uint32_t mask_ = 0xFF000000;
    std::uint32_t gateway_ = 0;
    std::chrono::steady_clock::time_point backAt_{};
    int broadcast_;
    int own_;
    const bool ready_;
    std::atomic<bool> ending_{false};
    std::atomic<int> forceIps_{0};
    std::thread thread_;
};
