// Features that we declare ourselves, as a source of a node map.
#pragma once

#include "features/feature_table.h"
#include "genapi/feature_source.h"

#include <mutex>
#include <string>

namespace features
{

/// A feature table behind one lock. Fill table(), finish() it, then hand the source out. Hooks that
/// read from a camera tell a failure by failRead().
class TableSource final : public genapi::FeatureSource
{
public:
    /// `model` is the name of the module in its description, a C identifier.
    TableSource(const std::string& model, const std::string& toolTip)
        : table_(identity(model, toolTip), 0x1000)
    {
    }

    FeatureTable& table() { return table_; }

    ZelCamErr description(std::string* document) override
    {
        document->resize(table_.xmlSize());
        table_.readXml(0, &(*document)[0], document->size());
        return ZelErr::kOk;
    }
    ZelCamErr read(std::uint64_t address, void* data, std::size_t size) override
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        failure_ = ZelErr::kOk;
        const ZelCamErr code = table_.read(address, data, size);
        return code == ZelErr::kOk ? failure_ : code;
    }
    ZelCamErr write(std::uint64_t address, const void* data, std::size_t size) override
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        return table_.write(address, data, size);
    }

    /// For hooks that run inside read(): it answers with `code` unless that is 0.
    void failRead(ZelCamErr code)
    {
        if (code != ZelErr::kOk) {
            failure_ = code;
        }
    }

private:
    static ModuleIdentity identity(const std::string& model, const std::string& toolTip)
    {
        ModuleIdentity identity;
        identity.vendor = "Zelcam";
        identity.model = model;
        identity.toolTip = toolTip;
        return identity;
    }

    std::mutex mutex_; ///< Guards the values and failure_.
    ZelCamErr failure_ = ZelErr::kOk;
    FeatureTable table_;
};

} // namespace features
