#include "view/view_server.h"

#include "common/failure.h"
#include "common/printer.h"
#include "view/thread_queue.h"

#include <sys/random.h>

#include <array>

namespace view
{

namespace
{

using common::Exit;
using common::Failure;

bool isLocal(const std::string& address)
{
    return address.rfind("127.", 0) == 0 || address == "localhost" || address == "::1";
}

std::string newToken()
{
    std::array<unsigned char, 16> bytes{};
    if (getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size())) {
        throw Failure(Exit::Failed, "the host gives no random numbers");
    }
    std::string token;
    for (const unsigned char byte : bytes) {
        token += common::format("%02x", byte);
    }
    return token;
}

/// Takes as long for every text of the right length.
bool equal(const std::string& a, const std::string& b)
{
    unsigned difference = a.size() == b.size() ? 0 : 1;
    for (std::size_t i = 0; i < a.size() && i < b.size(); ++i) {
        difference |= static_cast<unsigned>(a[i]) ^ static_cast<unsigned>(b[i]);
    }
    return difference == 0;
}

} // namespace

ViewServer::ViewServer(const Sessions& sessions, const std::string& address, int port)
    : address_(address), port_(port), token_(isLocal(address) ? "" : newToken())
{
    constexpr std::size_t kMostConnections = 192;
    constexpr std::size_t kMostBytes = 4 << 20;
    constexpr std::size_t kRequestsOnOne = 1000000;
    constexpr time_t kSeconds = 5;
    server_.new_task_queue = [] { return new ThreadQueue(kMostConnections); };
    server_.set_payload_max_length(kMostBytes);
    server_.set_keep_alive_max_count(kRequestsOnOne);
    server_.set_keep_alive_timeout(kSeconds);
    server_.set_read_timeout(kSeconds);
    server_.set_write_timeout(kSeconds);
    server_.set_tcp_nodelay(true);
    server_.set_default_headers(
        {{"Cache-Control", "no-store"},
         {"X-Content-Type-Options", "nosniff"},
         {"Content-Security-Policy",
          "default-src 'self'; img-src 'self' blob:; frame-ancestors 'none'"}});
    server_.set_pre_routing_handler(
        [this](const httplib::Request& request, httplib::Response& response) {
            return admit(request, response);
        });
    server_.set_exception_handler(
        [](const httplib::Request&, httplib::Response& response, const std::exception_ptr&) {
            constexpr int kFailed = 500;
            response.status = kFailed;
            response.set_content("{\"error\":\"the viewer failed\"}", "application/json");
        });
    addRequests(server_, sessions);
    const bool bound = port_ != 0 ? server_.bind_to_port(address_.c_str(), port_)
                                  : (port_ = server_.bind_to_any_port(address_.c_str())) > 0;
    if (!bound) {
        throw Failure(Exit::Failed, address + ":" + std::to_string(port) +
                                        " cannot be had: give another --port (0 takes any)");
    }
}

bool ViewServer::isAllowed(const httplib::Request& request, std::string& why) const
{
    const bool isApi = request.path.rfind("/api/", 0) == 0;
    if (request.method != "GET" && request.get_header_value("X-Zelcam").empty()) {
        // No other site's page can send this header.
        why = "the header X-Zelcam is missing";
        return false;
    }
    if (!token_.empty()) {
        why = "the token is missing or wrong: open the link that zelcam view printed";
        return !isApi || equal(request.get_param_value("token"), token_);
    }
    // A name of another site that was made to lead here is not this host.
    const std::string host = request.get_header_value("Host");
    const std::string port = ":" + std::to_string(port_);
    why = "this server is called " + address_ + port;
    return host == address_ + port || host == "localhost" + port;
}

httplib::Server::HandlerResponse ViewServer::admit(const httplib::Request& request,
                                                   httplib::Response& response) const
{
    std::string why;
    if (isAllowed(request, why)) {
        return httplib::Server::HandlerResponse::Unhandled;
    }
    constexpr int kForbidden = 403;
    response.status = kForbidden;
    response.set_content(common::dump({{"error", why}}), "application/json");
    return httplib::Server::HandlerResponse::Handled;
}

std::string ViewServer::link() const
{
    return "http://" + address_ + ":" + std::to_string(port_) + "/" +
           (token_.empty() ? "" : "?token=" + token_);
}

void ViewServer::serve() { server_.listen_after_bind(); }

void ViewServer::stop() { server_.stop(); }

} // namespace view
