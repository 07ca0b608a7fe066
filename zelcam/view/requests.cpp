#include "view/requests.h"

#include "common/failure.h"
#include "common/feature.h"
#include "view/page_files.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>

namespace view
{

namespace
{

using common::Exit;
using common::Failure;
using common::Json;
using httplib::Request;
using httplib::Response;

constexpr int kBadRequest = 400;
constexpr int kNotFound = 404;
constexpr int kConflict = 409;
constexpr int kNoContent = 204;

/// A request that cannot be understood.
class BadRequest : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

void answer(Response& response, const Json& value, int status = 200)
{
    response.status = status;
    response.set_content(common::dump(value), "application/json");
}

/// A number among the query's parameters, within limits; `otherwise` when it is not there.
std::uint64_t numberIn(const Request& request, const char* name, std::uint64_t otherwise,
                       std::uint64_t least, std::uint64_t most)
{
    if (!request.has_param(name)) {
        return otherwise;
    }
    const std::string text = request.get_param_value(name);
    std::uint64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || value < least || value > most) {
        throw BadRequest(std::string(name) + " is out of range");
    }
    return value;
}

/// The JSON object in the request's body.
Json bodyOf(const Request& request)
{
    constexpr std::size_t kMostBytes = 65536;
    Json body = request.body.size() <= kMostBytes ? Json::parse(request.body, nullptr, false)
                                                  : Json(Json::value_t::discarded);
    if (!body.is_object()) {
        throw BadRequest("the body is no JSON object");
    }
    return body;
}

std::string textIn(const Json& body, const char* name)
{
    const auto at = body.find(name);
    if (at == body.end() || !at->is_string()) {
        throw BadRequest(std::string(name) + " is missing");
    }
    return at->get<std::string>();
}

bool flagIn(const Json& body, const char* name)
{
    const auto at = body.find(name);
    if (at == body.end() || !at->is_boolean()) {
        throw BadRequest(std::string(name) + " is missing");
    }
    return at->get<bool>();
}

void sendFrame(CameraSession& session, const Request& request, Response& response)
{
    constexpr int kPatienceMs = 1000;
    Wish wish;
    wish.png = request.has_param("format") && request.get_param_value("format") == "png";
    wish.quality = static_cast<int>(numberIn(request, "quality", 80, 1, 100));
    wish.shrink = static_cast<std::uint32_t>(numberIn(request, "shrink", 1, 1, 64));
    const Shown shown =
        session.picture(numberIn(request, "after", 0, 0, UINT64_MAX), wish, kPatienceMs);
    if (shown.file == nullptr) {
        response.status = kNoContent;
        return;
    }
    const double age = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() -
                                                                 shown.frame->arrival)
                           .count();
    const ZelImage& image = shown.frame->image;
    response.set_header("X-Frame", common::dump({{"sequence", shown.frame->sequence},
                                                 {"id", shown.frame->id},
                                                 {"timestamp", shown.frame->timestamp},
                                                 {"width", image.size.width},
                                                 {"height", image.size.height},
                                                 {"incomplete", shown.frame->incomplete},
                                                 {"age_ms", age}}));
    // Shared by all clients that got the same picture, however long they take to read it.
    const auto file = shown.file;
    response.set_content_provider(
        file->size(), wish.png ? "image/png" : "image/jpeg",
        [file](std::size_t offset, std::size_t length, httplib::DataSink& sink) {
            return sink.write(file->data() + offset, length);
        });
}

void sendFeatures(CameraSession& session, const Request& request, Response& response)
{
    const auto level = static_cast<std::int64_t>(numberIn(request, "level", 1, 0, 3));
    const auto camera = session.camera();
    Json list = Json::array();
    common::walk(camera->features(), level, [&](ZelGenParam::Param& feature, int depth) {
        Json described = common::describe(feature);
        described["depth"] = depth;
        list.push_back(std::move(described));
    });
    answer(response, {{"features", list}});
}

void sendFeature(CameraSession& session, const Request& request, Response& response)
{
    const auto camera = session.camera();
    answer(response,
           common::describe(common::feature(camera->features(), request.get_param_value("name"))));
}

void setFeature(CameraSession& session, const Request& request, Response& response)
{
    const Json body = bodyOf(request);
    const std::string name = textIn(body, "name");
    session.setFeature(name, textIn(body, "value"));
    answer(response, common::describe(common::feature(session.camera()->features(), name)));
}

void runCommand(CameraSession& session, const Request& request, Response& response)
{
    constexpr std::uint32_t kPatienceMs = 5000;
    const std::string name = textIn(bodyOf(request), "name");
    common::runCommand(session.camera()->features(), name, kPatienceMs);
    answer(response, {{"done", name}});
}

void record(CameraSession& session, const Request& request, Response& response)
{
    const Json body = bodyOf(request);
    if (!flagIn(body, "running")) {
        answer(response, {{"file", session.stopRecording()}});
        return;
    }
    const std::string extension = body.value("extension", ".mkv");
    constexpr std::array<const char*, 5> kKnown = {".mkv", ".avi", ".mp4", ".mov", ".webm"};
    if (std::find(kKnown.begin(), kKnown.end(), extension) == kKnown.end()) {
        throw BadRequest("extension is unknown");
    }
    answer(response, {{"file", session.startRecording(body.value("codec", ""), extension)}});
}

using Action = void (*)(CameraSession&, const Request&, Response&);

struct Route {
    const char* name;
    bool writes;
    Action action;
};

const Route kRoutes[] = {
    {"frame", false, sendFrame},
    {"state", false, [](CameraSession& s, const Request&, Response& r) { answer(r, s.state()); }},
    {"features", false, sendFeatures},
    {"feature", false, sendFeature},
    {"feature", true, setFeature},
    {"command", true, runCommand},
    {"pixel", false,
     [](CameraSession& s, const Request& q, Response& r) {
         answer(r, s.pixel(static_cast<std::uint32_t>(numberIn(q, "x", 0, 0, UINT32_MAX)),
                           static_cast<std::uint32_t>(numberIn(q, "y", 0, 0, UINT32_MAX))));
     }},
    {"acquisition", true,
     [](CameraSession& s, const Request& q, Response& r) {
         s.setRunning(flagIn(bodyOf(q), "running"));
         answer(r, s.state());
     }},
    {"snapshot", true,
     [](CameraSession& s, const Request&, Response& r) {
         answer(r, {{"file", s.snapshot()}});
     }},
    {"record", true, record},
    {"settings", false,
     [](CameraSession& s, const Request&, Response& r) {
         r.set_content(s.saveSettings(), "text/plain; charset=utf-8");
     }},
    {"settings", true,
     [](CameraSession& s, const Request& q, Response& r) {
         s.loadSettings(q.body);
         answer(r, s.state());
     }},
};

/// Runs an action; what it throws becomes an answer.
void guarded(const std::function<void()>& action, Response& response)
{
    try {
        action();
    } catch (const BadRequest& bad) {
        answer(response, {{"error", bad.what()}}, kBadRequest);
    } catch (const Failure& failure) {
        answer(response, {{"error", failure.what()}, {"code", failure.code()}}, kConflict);
    } catch (const Json::exception&) {
        answer(response, {{"error", "a value is of the wrong type"}}, kBadRequest);
    }
}

void addPage(httplib::Server& server)
{
    for (const PageFile& file : pageFiles()) {
        const std::string name = file.name;
        const std::string type = name.find(".css") != std::string::npos  ? "text/css"
                                 : name.find(".js") != std::string::npos ? "text/javascript"
                                                                         : "text/html";
        server.Get(name == "index.html" ? "/" : "/" + name,
                   [&file, type](const Request&, Response& response) {
                       response.set_content(file.data, file.size, type + "; charset=utf-8");
                   });
    }
}

} // namespace

void addRequests(httplib::Server& server, const Sessions& sessions)
{
    addPage(server);
    server.Get("/api/cameras", [&sessions](const Request&, Response& response) {
        Json list = Json::array();
        for (const auto& session : sessions) {
            list.push_back({{"display", session->display()}, {"serial", session->serial()}});
        }
        answer(response, {{"cameras", list}});
    });
    for (const Route& route : kRoutes) {
        const auto handler = [&sessions, &route](const Request& request, Response& response) {
            const std::size_t index = std::strtoul(request.matches[1].str().c_str(), nullptr, 10);
            if (index >= sessions.size()) {
                answer(response, {{"error", "there is no such camera"}}, kNotFound);
                return;
            }
            guarded([&] { route.action(*sessions[index], request, response); }, response);
        };
        const std::string pattern = R"(/api/(\d{1,3})/)" + std::string(route.name);
        if (route.writes) {
            server.Post(pattern, handler);
        } else {
            server.Get(pattern, handler);
        }
    }
}

} // namespace view
