#include "camera_process.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstring>

CameraProcess::CameraProcess(const std::string& address, const std::string& serial,
                             int lostPerThousand, const std::string& option)
{
    int in[2];
    int out[2];
    if (::pipe2(in, O_CLOEXEC) != 0 || ::pipe2(out, O_CLOEXEC) != 0) {
        return;
    }
    const std::string lost = std::to_string(lostPerThousand);
    pid_ = ::fork();
    if (pid_ == 0) {
        ::dup2(in[0], STDIN_FILENO);
        ::dup2(out[1], STDOUT_FILENO);
        ::execl(ZEL_GIGE_CAMERA, "gige_camera", address.c_str(), serial.c_str(), lost.c_str(),
                option.c_str(), nullptr);
        ::_exit(127);
    }
    ::close(in[0]);
    ::close(out[1]);
    input_ = in[1];
    char text[6] = {};
    const ssize_t got = ::read(out[0], text, sizeof(text));
    ::close(out[0]);
    if (got < 5 || std::strncmp(text, "ready", 5) != 0) {
        kill();
    }
}

CameraProcess::~CameraProcess() { kill(); }

void CameraProcess::kill()
{
    if (pid_ > 0) {
        ::kill(pid_, SIGKILL);
        ::waitpid(pid_, nullptr, 0);
        pid_ = -1;
    }
    if (input_ >= 0) {
        ::close(input_);
        input_ = -1;
    }
}
