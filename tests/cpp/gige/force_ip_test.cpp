// ForceIP with devices of every kind of manners, on loopback.
#include "gige/gige_interface.h"
#include "gvcp_responder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>

namespace
{

using namespace std::chrono_literals;

constexpr std::uint32_t kBefore = 0x7F000007; // 127.0.0.7
constexpr core::IpSettings kAfter{0x7F000108, 0xFF000000, 0x7F0000FE};

class ForceIp : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ::setenv("ZELCAM_VISION", "lo", 1);
        const auto adapters = gige::networkAdapters();
        ASSERT_EQ(adapters.size(), 1U);
        interface_ = std::make_unique<gige::GigeInterface>(adapters.front());
    }

    /// Code of ForceIP to a device with these manners, which is found first.
    ZelCamErr force(const GvcpResponder::Manners& manners)
    {
        device_.reset();
        device_ = std::make_unique<GvcpResponder>(kBefore, manners);
        EXPECT_TRUE(device_->isReady());
        EXPECT_EQ(address(), kBefore);
        const auto start = std::chrono::steady_clock::now();
        const ZelCamErr code = interface_->forceIp(id_, kAfter);
        took_ = std::chrono::steady_clock::now() - start;
        return code;
    }
    /// Where an enumeration finds the only device; 0: nowhere.
    std::uint32_t address()
    {
        std::vector<core::DeviceDescription> devices;
        for (int i = 0; i < 20 && devices.empty(); ++i) { // a busy machine answers late
            EXPECT_EQ(interface_->updateDevices(150, &devices), 0);
        }
        core::IpSettings settings;
        if (devices.size() == 1) {
            id_ = devices.front().id;
            EXPECT_EQ(interface_->ipSettings(id_, &settings), 0);
        }
        return settings.address;
    }

    std::unique_ptr<gige::GigeInterface> interface_;
    std::unique_ptr<GvcpResponder> device_;
    std::string id_;
    std::chrono::steady_clock::duration took_{};
};

TEST_F(ForceIp, IsTakenAndTheDeviceIsFoundWhereItWentTo)
{
    EXPECT_EQ(force({}), 0);
    EXPECT_EQ(device_->forceIpCount(), 1);
    core::IpSettings settings;
    ASSERT_EQ(interface_->ipSettings(id_, &settings), 0);
    EXPECT_EQ(settings.address, kAfter.address);
    EXPECT_EQ(settings.mask, kAfter.mask);
    EXPECT_EQ(settings.gateway, kAfter.gateway);
    EXPECT_EQ(interface_->accessStatus(id_), 1);
    EXPECT_EQ(address(), kAfter.address);
    EXPECT_EQ(interface_->forceIp("nobody", kAfter), ZelErr::kGenTLInvalidId);
}

TEST_F(ForceIp, WaitsForDevicesThatAreSlowOrWhoseAnswerIsLost)
{
    GvcpResponder::Manners slow;
    slow.away = 900ms;
    EXPECT_EQ(force(slow), 0);
    EXPECT_GE(took_, 900ms);
    GvcpResponder::Manners mute;
    mute.answers = false;
    EXPECT_EQ(force(mute), 0);
    EXPECT_EQ(address(), kAfter.address);
}

TEST_F(ForceIp, RefusalsHaveTheirCodeAndChangeNothing)
{
    GvcpResponder::Manners manners;
    for (const auto& [status, code] :
         {std::pair<std::uint16_t, ZelCamErr>{0x8001, ZelErr::kGenTLNotImplemented},
          {0x8002, ZelErr::kGenTLInvalidParameter},
          {0x8006, ZelErr::kGenTLAccessDenied},
          {0x8007, ZelErr::kGenTLBusy},
          {0x8FFF, ZelErr::kGenTLIo}}) {
        manners.status = status;
        EXPECT_EQ(force(manners), code) << status;
        EXPECT_EQ(device_->forceIpCount(), 1);
        EXPECT_EQ(address(), kBefore);
    }
    manners = {};
    manners.moves = false; // says yes and stays
    EXPECT_EQ(force(manners), ZelErr::kGenTLIo);
    EXPECT_LT(took_, 4s);
    manners.answers = false;
    EXPECT_EQ(force(manners), ZelErr::kGenTLTimeout);
    EXPECT_EQ(device_->forceIpCount(), 2) << "asked again, a packet may get lost";
    EXPECT_LT(took_, 2s);
    EXPECT_EQ(address(), kBefore);
}

TEST_F(ForceIp, LeavesADeviceAloneThatSomebodyControls)
{
    GvcpResponder::Manners manners;
    manners.privilege = 2;
    EXPECT_EQ(force(manners), ZelErr::kGenTLAccessDenied);
    EXPECT_EQ(device_->forceIpCount(), 0);
}

} // namespace
