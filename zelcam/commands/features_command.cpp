#include "commands/features_command.h"

#include "common/feature.h"
#include "common/open_camera.h"

#include <algorithm>
#include <array>
#include <cctype>

namespace commands
{

using common::Json;

namespace
{

constexpr std::array<const char*, 4> kLevels = {"beginner", "expert", "guru", "invisible"};

bool fits(const std::string& pattern, const std::string& name)
{
    const auto same = [](char a, char b) {
        return std::tolower(static_cast<unsigned char>(a)) ==
               std::tolower(static_cast<unsigned char>(b));
    };
    return std::search(name.begin(), name.end(), pattern.begin(), pattern.end(), same) !=
           name.end();
}

std::string rangeText(const Json& feature)
{
    if (feature.contains("entries")) {
        std::string text;
        for (const Json& entry : feature["entries"]) {
            text += (text.empty() ? "" : " | ") + entry.get<std::string>();
        }
        return text;
    }
    if (!feature.contains("min") || !feature.contains("max")) {
        return "";
    }
    const bool stepped = feature.contains("increment") && feature["increment"] != 1;
    return "[" + common::dump(feature["min"]) + " .. " + common::dump(feature["max"]) +
           (stepped ? " step " + common::dump(feature["increment"]) : "") + "]";
}

std::vector<std::string> rowOf(const Json& feature, int depth)
{
    const std::string indent(2 * static_cast<std::size_t>(depth), ' ');
    if (feature["type"] == "Category") {
        return {indent + feature["name"].get<std::string>() + "/"};
    }
    std::string value = feature.contains("value") ? common::valueText(feature["value"]) : "";
    if (feature.contains("unit")) {
        value += " " + feature["unit"].get<std::string>();
    }
    return {indent + feature["name"].get<std::string>(), feature["type"].get<std::string>(),
            feature["access"].get<std::string>(), value, rangeText(feature)};
}

ZelGenParam::Array& arrayOf(common::OpenCamera& camera, const std::string& module)
{
    if (module == "camera") {
        return camera.features();
    }
    ZelGenParam::Array* const array = module == "transport"
                                          ? camera.transport()
                                          : camera.found().interface->GetParameters(nullptr);
    if (array == nullptr) {
        throw common::Failure(common::Exit::Failed, "the " + module + " has no features");
    }
    return *array;
}

} // namespace

FeaturesCommand::FeaturesCommand(CLI::App& parent)
    : Command(parent, "features", "Show features with type, access, value, range and unit")
{
    app().add_option("PATTERN", pattern_, "only features with this in their name");
    app()
        .add_option("--visibility", visibility_, "up to which level")
        ->check(CLI::IsMember(std::vector<std::string>(kLevels.begin(), kLevels.end())))
        ->capture_default_str();
    app()
        .add_option("--of", module_, "whose features")
        ->check(CLI::IsMember({"camera", "transport", "interface"}))
        ->capture_default_str();
}

common::Exit FeaturesCommand::run(const Context& context)
{
    common::OpenCamera camera(context.options);
    ZelGenParam::Array& array = arrayOf(camera, module_);
    const auto level = std::find(kLevels.begin(), kLevels.end(), visibility_) - kLevels.begin();
    std::vector<std::vector<std::string>> rows;
    Json list = Json::array();
    common::walk(array, level, [&](ZelGenParam::Param& feature, int depth) {
        const bool category = feature.GetType() == ZelGenParam::kTypeCategory;
        if (!pattern_.empty() && (category || !fits(pattern_, feature.GetName()))) {
            return;
        }
        Json described = common::describe(feature);
        rows.push_back(rowOf(described, pattern_.empty() ? depth : 0));
        described["depth"] = depth;
        list.push_back(std::move(described));
    });
    if (rows.empty()) {
        throw common::Failure(common::Exit::Failed,
                              "no feature has '" + pattern_ + "' in its name");
    }
    context.printer.table(rows);
    if (list.size() == 1) {
        context.printer.line(list[0]["description"].get<std::string>());
    }
    context.printer.result(name(), {{"features", list}});
    return common::Exit::Ok;
}

} // namespace commands
