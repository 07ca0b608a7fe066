// Configuration files: the GenICam feature persistence text of a device's parameters.
#pragma once

#include "zel_err.h"

#include <string>

namespace params
{

class ParamArray;

/// Names the device in a configuration file, so that it can be opened from the file alone. Texts
/// are UTF-8; line breaks in them become blanks when written. Empty: not known.
struct DeviceIdentity {
    std::string vendor;
    std::string model;
    std::string serialNumber;
    std::string interfaceType; ///< "USB3 Vision", "GigE Vision", ...; free text.
    std::string interfaceId;   ///< Id of the transport interface.
    std::string deviceId;      ///< Id of the device on its interface.
};

/// Writes all streamable features that can be read and written now, selected ones for every entry
/// of their selectors, which have their old values afterwards. The file appears whole or not at
/// all: a temporary name in the same directory is renamed. `file` is a path as bytes.
/// -40007 null or empty name, -40051-like codes of the array when it is detached, -40003 the file
/// cannot be written; codes of a feature that fails to be read pass through.
ZelCamErr saveConfiguration(ParamArray& array, const DeviceIdentity& identity, const char* file);

/// Reads a file, checks all of it, then applies it: either every feature has the value of the file
/// afterwards, or the old values are back. Order in the file does not matter: features that depend
/// on each other are retried.
/// -40007 null or empty name, -40002 no such file, -40003 not readable (directory, device, no
/// permission, above 16 MB), -40004 not a configuration file, an unknown or unfit feature or value,
/// -402xx a value that the device refused; transport codes pass through.
ZelCamErr loadConfiguration(ParamArray& array, const char* file);

/// The device that a file was written for; fields that the file does not name stay empty.
/// -40002, -40003, -40004 as loadConfiguration.
ZelCamErr readConfigurationIdentity(const char* file, DeviceIdentity* identity);

} // namespace params
