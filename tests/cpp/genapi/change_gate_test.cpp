// A gate keeps users waiting for a change, and nobody else.
#include "genapi/change_gate.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

namespace
{

using genapi::ChangeGate;

TEST(ChangeGate, UsersWaitForTheEndOfAllChangesAndTheChangeItselfDoesNot)
{
    ChangeGate gate;
    gate.pass();
    gate.close();
    gate.close();
    std::atomic<bool> hasPassed{false};
    std::thread user([&] {
        gate.pass();
        hasPassed = true;
    });
    std::thread worker([&] {
        const ChangeGate::Change change;
        gate.pass();
        gate.open();
    });
    worker.join();
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_FALSE(hasPassed) << "one change is still under way";
    gate.open();
    user.join();
    EXPECT_TRUE(hasPassed);
}

TEST(ChangeGate, PatienceEnds)
{
    ChangeGate gate;
    gate.close();
    const auto start = std::chrono::steady_clock::now();
    gate.pass();
    EXPECT_GE(std::chrono::steady_clock::now() - start, ChangeGate::kPatience);
    gate.open();
}

} // namespace
