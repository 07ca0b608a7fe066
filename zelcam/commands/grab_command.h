// `zelcam grab`: frames into picture files.
#pragma once

#include "commands/command.h"
#include "common/open_camera.h"
#include "common/picture.h"

namespace commands
{

class GrabCommand : public Command
{
public:
    explicit GrabCommand(CLI::App& parent);
    common::Exit run(const Context& context) override;

private:
    common::Exit grab(const Context& context, common::OpenCamera& camera);
    std::string fileName(std::uint64_t number) const;
    std::string save(const ZelImage& image, std::uint64_t number);

    std::uint64_t frames_ = 1;
    std::uint64_t every_ = 1;
    std::string output_ = "frame-%04d.png";
    std::string trigger_;
    bool newest_ = false;
    std::int32_t quality_ = 95;
    common::PictureMaker maker_;
    std::unique_ptr<ZelImageSerializer, void (*)(ZelImageSerializer*)> serializer_;
};

} // namespace commands
