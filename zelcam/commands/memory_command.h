// `zelcam memory`: registers of a camera.
#pragma once

#include "commands/command.h"
#include "zel_camera_api.h"

namespace commands
{

class MemoryCommand : public Command
{
public:
    explicit MemoryCommand(CLI::App& parent);
    common::Exit run(const Context& context) override;

private:
    common::Exit read(const Context& context, ZelCam::Device& device) const;
    common::Exit write(const Context& context, ZelCam::Device& device) const;

    CLI::App* read_;
    CLI::App* write_;
    std::string address_;
    std::string length_;
    std::string bytes_;
    std::string output_;
};

} // namespace commands
