// A module in memory under an array, ready to be used.
#pragma once

#include "memory_source.h"
#include "params/param_array.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

/// One module with these nodes, attached.
class Module
{
public:
    Module(const std::string& nodes, const std::vector<std::string>& features,
           const std::string& schemaMinor = "1", bool isNetworkOrder = false)
        : source(describe(nodes, features, schemaMinor))
    {
        source.isNetworkOrder = isNetworkOrder;
        EXPECT_EQ(array.attach({&source}), 0);
    }

    std::int64_t integer(const char* name)
    {
        ZelCamErr err = -1;
        const std::int64_t value = array.GetIntegerValue(name, &err);
        EXPECT_EQ(err, 0) << name;
        return value;
    }

    ZelCamErr readError(const char* name)
    {
        ZelCamErr err = -1;
        EXPECT_EQ(array.GetIntegerValue(name, &err), 0);
        return err;
    }

    MemorySource source;
    params::ParamArray array;
};
