// The server behind `zelcam view`: who may ask, and how many at once.
#pragma once

#include "view/requests.h"

#include <string>

namespace view
{

/// Serves the page of the sessions. On 127.0.0.1 whoever is on this host may ask, but no page of
/// another site; on any other address only who knows the token in the link.
class ViewServer
{
public:
    /// Binds; port 0 takes any. Failure when the address cannot be had.
    ViewServer(const Sessions& sessions, const std::string& address, int port);

    /// The link to open, with the token where there is one.
    std::string link() const;
    /// Serves until stop(); called once.
    void serve();
    /// Ends serve(). Any thread.
    void stop();

private:
    httplib::Server::HandlerResponse admit(const httplib::Request& request,
                                           httplib::Response& response) const;
    bool isAllowed(const httplib::Request& request, std::string& why) const;

    httplib::Server server_;
    std::string address_;
    int port_;
    std::string token_;
};

} // namespace view
