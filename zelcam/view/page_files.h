// The files of the page, built into the program.
#pragma once

#include <cstddef>
#include <vector>

namespace view
{

struct PageFile {
    const char* name;
    const char* data;
    std::size_t size;
};

const std::vector<PageFile>& pageFiles();

} // namespace view
