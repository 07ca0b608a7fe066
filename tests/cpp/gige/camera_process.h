// The loopback camera as a child process.
#pragma once

#include <sys/types.h>

#include <string>

/// Starts the camera program and waits until it is ready; ends it in the destructor.
class CameraProcess
{
public:
    /// `option`: one of the program's.
    CameraProcess(const std::string& address, const std::string& serial, int lostPerThousand = 0,
                  const std::string& option = "");
    ~CameraProcess();
    CameraProcess(const CameraProcess&) = delete;
    CameraProcess& operator=(const CameraProcess&) = delete;

    bool isRunning() const { return pid_ > 0; }
    /// As if the power went away.
    void kill();

private:
    pid_t pid_ = -1;
    int input_ = -1;
};
