// A device that takes FORCEIP, for the Python tests: gvcp_responder ADDRESS (a host integer)
// ["refuse" | "silent"]. Runs until its standard input is closed.
#include "gvcp_responder.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

int main(int argc, char** argv)
{
    GvcpResponder::Manners manners;
    const std::string word = argc > 2 ? argv[2] : "";
    manners.status = word == "refuse" ? 0x8006 : 0;
    manners.answers = word != "silent";
    manners.moves = manners.answers;
    const auto address =
        static_cast<std::uint32_t>(std::strtoul(argc > 1 ? argv[1] : "0", nullptr, 0));
    const GvcpResponder responder(address, manners);
    std::puts(responder.isReady() ? "ready" : "no sockets");
    std::fflush(stdout);
    char byte = 0;
    while (::read(STDIN_FILENO, &byte, 1) > 0) {
    }
    return 0;
}
