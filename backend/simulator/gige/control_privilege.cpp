#include "simulator/gige/control_privilege.h"

namespace simulator::gige
{

ControlPrivilege::Change ControlPrivilege::request(const Endpoint& host, std::uint32_t value,
                                                   std::uint16_t key, Clock::time_point now)
{
    constexpr std::uint32_t kOwning = wire::kPrivilegeExclusive | wire::kPrivilegeControl;
    const std::uint32_t wanted = value & (kOwning | wire::kPrivilegeSwitchover);
    const bool wantsAny = (wanted & kOwning) != 0;
    if (isFree()) {
        if (!wantsAny) {
            return Change::None;
        }
        value_ = wanted;
        controller_ = host;
        heard_ = now;
        return Change::Taken;
    }
    if (isController(host)) {
        const bool same = wanted == value_;
        value_ = wantsAny ? wanted : 0;
        return !wantsAny ? Change::GivenBack : same ? Change::None : Change::Changed;
    }
    const bool mayFollow = (value_ & wire::kPrivilegeSwitchover) != 0 && value >> 16U == key;
    if (!wantsAny || !mayFollow) {
        return Change::Refused;
    }
    value_ = wanted;
    controller_ = host;
    heard_ = now;
    return Change::Switched;
}

} // namespace simulator::gige
