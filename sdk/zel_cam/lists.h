// ZelCam::InterfaceList and ZelCam::DeviceInfoList: snapshots handed out by enumeration.
#pragma once

#include "../zel_export.h"

namespace ZelCam
{

class Interface;
class DeviceInfo;

/// A snapshot of the interfaces, made for one caller, who releases it. The elements stay valid. One
/// list is for one thread at a time.
class ZEL_API InterfaceList
{
public:
    /// Slot 0. Frees the list.
    virtual void Release() = 0;
    virtual void reserved1() {}
    /// Slot 2. First element, or null when empty; restarts the walk.
    virtual Interface* GetFirst() = 0;
    /// Slot 3. Next element, or null after the last.
    virtual Interface* GetNext() = 0;

protected:
    ~InterfaceList() = default;
};

/// A snapshot of the devices of one interface; rules as for InterfaceList.
class ZEL_API DeviceInfoList
{
public:
    /// Slot 0. Frees the list.
    virtual void Release() = 0;
    virtual void reserved1() {}
    /// Slot 2. First element, or null when empty; restarts the walk.
    virtual DeviceInfo* GetFirst() = 0;
    /// Slot 3. Next element, or null after the last.
    virtual DeviceInfo* GetNext() = 0;

protected:
    ~DeviceInfoList() = default;
};

} // namespace ZelCam
