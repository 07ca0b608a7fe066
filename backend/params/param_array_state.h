// What an array holds: its lock, the attached maps, the names, the tree, the parameter objects.
#pragma once

#include "base/operation_guard.h"
#include "genapi/change_gate.h"
#include "genapi/feature_map.h"
#include "genapi/feature_source.h"
#include "zel_err.h"
#include "zel_gen_param_api.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace params
{

class CategoryParam;
class ParamObject;

/// Shared by the array and its parameter objects. Everything but attach() and detach() is called
/// inside an Entry.
class ParamArrayState
{
public:
    /// Holds the lock of the array. Entries nest in one thread; a map that is detached inside one
    /// lives until the outermost has ended.
    class Entry
    {
    public:
        /// Waits for the end of a change that another thread has under way; see ChangeGate.
        explicit Entry(ParamArrayState& state) : Entry(state, &state.gate_) {}
        /// For what a transport or a change itself has to do: goes in at once.
        static Entry atOnce(ParamArrayState& state) { return Entry(state, nullptr); }
        ~Entry();
        Entry(const Entry&) = delete;
        Entry& operator=(const Entry&) = delete;

    private:
        Entry(ParamArrayState& state, genapi::ChangeGate* gate);

        ParamArrayState& state_;
        const genapi::ChangeGate::Change inside_; ///< Entries inside this one do not wait.
        std::unique_lock<std::recursive_mutex> lock_;
    };

    /// One node of the attached maps.
    struct Slot {
        genapi::FeatureMap* map = nullptr;
        std::int32_t node = -1;
        bool isListed = false;                  ///< In the tree.
        genapi::CheckedNode* feature = nullptr; ///< Once used.
        ParamObject* object = nullptr;          ///< Once handed out.
    };

    /// What `body` gives inside an Entry and the guard of the boundary; `failed` when it cannot
    /// run.
    template <class Value, class Body> Value ask(Value failed, Body&& body)
    {
        return base::guardedValue(failed, [&] {
            const Entry entry(*this);
            return body();
        });
    }

    /// As ask(), for a body that answers with a code.
    template <class Body> ZelCamErr call(Body&& body)
    {
        return base::guarded([&] {
            const Entry entry(*this);
            return body();
        });
    }

    ParamArrayState();
    ~ParamArrayState();
    ParamArrayState(const ParamArrayState&) = delete;
    ParamArrayState& operator=(const ParamArrayState&) = delete;

    ZelCamErr attach(const std::vector<genapi::FeatureSource*>& sources);
    void detach(ZelCamErr reason);

    /// 0 while maps are attached, else why not.
    ZelCamErr reason() const { return reason_; }

    /// Null with -40007, -40205 or the reason of being detached.
    Slot* find(const char* name, ZelCamErr* err);
    static const genapi::Node& nodeOf(const Slot& slot);
    static genapi::CheckedNode& featureOf(Slot& slot);
    ParamObject& objectOf(Slot& slot);
    /// The object of a feature in a list; -40005 outside it.
    ZelCamErr paramAt(const std::vector<Slot*>& slots, std::int64_t index,
                      ZelGenParam::Param** param);

    /// Null without a tree.
    CategoryParam* root() { return root_; }
    /// Features in the order of the tree, each once.
    const std::vector<Slot*>& features() const { return flat_; }
    const std::vector<std::unique_ptr<genapi::FeatureMap>>& maps() const { return maps_; }

    genapi::ChangeGate& gate() { return gate_; }

    /// A text that lives as long as the array; equal texts are one.
    const char* intern(std::string_view text);

private:
    /// What calls further up the stack may still hold.
    struct Retired {
        std::vector<std::unique_ptr<genapi::FeatureMap>> maps;
        std::vector<std::vector<Slot>> slots;
        std::vector<Slot*> flat;
    };

    ZelCamErr build(const std::vector<genapi::FeatureSource*>& sources);
    void drop(ZelCamErr reason);
    void addSlots(genapi::FeatureMap& map);
    /// Of the first map that has the name; null without one.
    Slot* named(std::string_view name);
    /// Objects that users kept come back to life.
    void bindObjects();
    void buildTree();
    void addChildren(CategoryParam& category, std::string_view name,
                     std::vector<std::string_view>* path);

    genapi::ChangeGate gate_;
    std::recursive_mutex mutex_;
    int depth_ = 0;
    ZelCamErr reason_;
    std::vector<std::unique_ptr<genapi::FeatureMap>> maps_;
    std::vector<Retired> retired_;
    std::vector<std::vector<Slot>> slots_; ///< By map and node; each stays where it is.
    CategoryParam* root_ = nullptr;
    std::vector<Slot*> flat_;
    std::unordered_set<std::string> texts_;
    /// By name and type: the same object comes back with the same feature.
    std::unordered_map<std::string, std::unique_ptr<ParamObject>> objects_;
};

} // namespace params
