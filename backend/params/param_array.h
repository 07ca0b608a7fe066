// The parameter array of a camera, a transport or an interface: what users of the SDK hold.
#pragma once

#include "genapi/change_gate.h"
#include "genapi/feature_source.h"
#include "zel_gen_param_api.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace params
{

class ParamArrayState;

/// The bytes of one chunk of a frame.
struct ChunkBytes {
    std::uint64_t id;
    std::vector<unsigned char> bytes;
};

/// A ZelGenParam::Array over the node maps of one or more modules; where two modules have a feature
/// of one name, the earlier one wins. The array and every parameter object that it ever handed out
/// live until it is destroyed, whether a map is attached or not, and objects are reused when the
/// same features come back: attaching and detaching for ever does not grow memory. Thread safe.
class ParamArray final : public ZelGenParam::Array
{
public:
    ParamArray();
    ~ParamArray();
    ParamArray(const ParamArray&) = delete;
    ParamArray& operator=(const ParamArray&) = delete;

    /// Builds the node maps in place of those attached before. A source without a description, or
    /// with a broken one, contributes nothing; a failure of the first source is returned and the
    /// array is then empty (failures of later sources are only logged on standard error). -40201
    /// for a broken description.
    ZelCamErr attach(const std::vector<genapi::FeatureSource*>& sources);

    /// Drops the node maps; returns after calls in other threads have left them. From then on every
    /// call answers with `reason` (-1006 after a release, -40006 for a lost device, ...). A source
    /// may call it from inside an access: the map then lives until that access has returned.
    void detach(ZelCamErr reason);

    /// Makes an event of the camera readable through the map: the bytes whose offset 0 is address 0
    /// of the event port with this id (hexadecimal EventID). Until then it answers -1014. The bytes
    /// are copied.
    void setEventData(std::uint64_t eventId, const void* data, std::size_t size);
    /// Makes the chunks of a frame readable, by the ChunkID of their ports, in place of all that
    /// were there before: ports without a chunk answer -1014.
    void setChunks(const std::vector<ChunkBytes>& chunks);

    /// Tells that something changed features behind the back of the map: the next read of every
    /// value asks the module. Never waits; from any thread.
    static void invalidate();

    /// Closed while something changes features that users should not see half done.
    genapi::ChangeGate& gate();

    /// For the other files of this directory.
    ParamArrayState& state() { return *state_; }

    ZelGenParam::Param* GetParam(const char* name, ZelCamErr* err) override;
    ZelGenParam::Boolean* GetBoolean(const char* name, ZelCamErr* err) override;
    ZelGenParam::Command* GetCommand(const char* name, ZelCamErr* err) override;
    ZelGenParam::Enum* GetEnum(const char* name, ZelCamErr* err) override;
    ZelGenParam::Float* GetFloat(const char* name, ZelCamErr* err) override;
    ZelGenParam::Int* GetInt(const char* name, ZelCamErr* err) override;
    ZelGenParam::String* GetString(const char* name, ZelCamErr* err) override;
    ZelGenParam::Category* GetRootCategory(ZelCamErr* err) override;
    ZelGenParam::NodeMap* GetNodeMap(ZelCamErr* err) override;
    std::int32_t GetCount() override;
    ZelGenParam::Param* GetParamByIndex(std::int64_t index, ZelCamErr* err) override;
    ZelCamErr SetBooleanValue(const char* name, bool value) override;
    bool GetBooleanValue(const char* name, ZelCamErr* err) override;
    ZelCamErr SetEnumValueStr(const char* name, const char* symbol) override;
    ZelCamErr SetEnumValue(const char* name, std::int64_t value) override;
    const char* GetEnumValueStr(const char* name, ZelCamErr* err) override;
    std::int64_t GetEnumValue(const char* name, ZelCamErr* err) override;
    ZelCamErr SetFloatValue(const char* name, double value) override;
    double GetFloatValue(const char* name, ZelCamErr* err) override;
    ZelCamErr SetIntegerValue(const char* name, std::int64_t value) override;
    std::int64_t GetIntegerValue(const char* name, ZelCamErr* err) override;
    ZelCamErr SetStringValue(const char* name, const char* value) override;
    const char* GetStringValue(const char* name, ZelCamErr* err) override;
    ZelCamErr ExecuteCommand(const char* name) override;
    bool IsCommandDone(const char* name, ZelCamErr* err) override;

private:
    /// Says nothing by itself: users can only hold it.
    class NodeMapHandle final : public ZelGenParam::NodeMap
    {
    };

    std::unique_ptr<ParamArrayState> state_;
    NodeMapHandle nodeMap_;
};

} // namespace params
