#include "params.h"

namespace zel_double
{
namespace
{

using ZelGenParam::Param;

class NodeDouble final : public ZelGenParam::Node, public Scripted
{
public:
    using Scripted::Scripted;
    bool IsFeature() override { return call("IsFeature").number<bool>(); }
};

class NodeMapDouble final : public ZelGenParam::NodeMap, public Scripted
{
public:
    using Scripted::Scripted;
};

/// What all parameters answer; `code` is the type when nobody scripted another one.
template <class Base, std::int32_t code> class ParamDouble : public Base, public Scripted
{
public:
    using Scripted::Scripted;
    std::int32_t GetType() override { return call("GetType").number(code); }
    const char* GetName() override { return call("GetName").text(); }
    const char* GetToolTip() override { return call("GetToolTip").text(); }
    const char* GetDescription() override { return call("GetDescription").text(); }
    const char* GetDisplayName() override { return call("GetDisplayName").text(); }
    std::int32_t GetVisibility() override { return call("GetVisibility").number<std::int32_t>(); }
    bool IsValueCached() override { return call("IsValueCached").number<bool>(); }
    bool IsAvailable() override { return call("IsAvailable").number<bool>(); }
    bool IsWritable() override { return call("IsWritable").number<bool>(); }
    bool IsReadable() override { return call("IsReadable").number<bool>(); }
    bool IsStreamable() override { return call("IsStreamable").number<bool>(); }
    bool IsVisible(std::int64_t level) override { return call("IsVisible", level).number<bool>(); }
    ZelGenParam::Node* GetNode() override { return named<NodeDouble>(call("GetNode").result()); }

protected:
    template <class T> T read(const char* operation, ZelCamErr* err) const
    {
        return call(operation, err).err(err).template number<T>();
    }
    const char* readText(const char* operation, ZelCamErr* err) const
    {
        return call(operation, err).err(err).text();
    }
};

class IntDouble final : public ParamDouble<ZelGenParam::Int, ZelGenParam::kTypeInt>
{
public:
    using ParamDouble::ParamDouble;
    ZelCamErr SetValue(std::int64_t value) override { return call("SetValue", value).code(); }
    std::int64_t GetValue(ZelCamErr* err) override { return read<std::int64_t>("GetValue", err); }
    std::int64_t GetMin(ZelCamErr* err) override { return read<std::int64_t>("GetMin", err); }
    std::int64_t GetMax(ZelCamErr* err) override { return read<std::int64_t>("GetMax", err); }
    std::int64_t GetIncrement(ZelCamErr* err) override
    {
        return read<std::int64_t>("GetIncrement", err);
    }
};

class FloatDouble final : public ParamDouble<ZelGenParam::Float, ZelGenParam::kTypeFloat>
{
public:
    using ParamDouble::ParamDouble;
    ZelCamErr SetValue(double value) override { return call("SetValue", value).code(); }
    double GetValue(ZelCamErr* err) override { return read<double>("GetValue", err); }
    double GetMin(ZelCamErr* err) override { return read<double>("GetMin", err); }
    double GetMax(ZelCamErr* err) override { return read<double>("GetMax", err); }
    const char* GetUnit(ZelCamErr* err) override { return readText("GetUnit", err); }
};

class BooleanDouble final : public ParamDouble<ZelGenParam::Boolean, ZelGenParam::kTypeBoolean>
{
public:
    using ParamDouble::ParamDouble;
    ZelCamErr SetValue(bool value) override { return call("SetValue", value).code(); }
    bool GetValue(ZelCamErr* err) override { return read<bool>("GetValue", err); }
};

class StringDouble final : public ParamDouble<ZelGenParam::String, ZelGenParam::kTypeString>
{
public:
    using ParamDouble::ParamDouble;
    std::int32_t GetMaxLength(ZelCamErr* err) override
    {
        return read<std::int32_t>("GetMaxLength", err);
    }
    const char* GetValue(ZelCamErr* err) override { return readText("GetValue", err); }
    ZelCamErr SetValue(const char* value) override { return call("SetValue", value).code(); }
};

class CommandDouble final : public ParamDouble<ZelGenParam::Command, ZelGenParam::kTypeCommand>
{
public:
    using ParamDouble::ParamDouble;
    ZelCamErr Execute() override { return call("Execute").code(); }
    bool IsDone(ZelCamErr* err) override { return read<bool>("IsDone", err); }
};

class EntryDouble final : public ParamDouble<ZelGenParam::EnumEntry, ZelGenParam::kTypeEnumEntry>
{
public:
    using ParamDouble::ParamDouble;
    std::int64_t GetValue(ZelCamErr* err) override { return read<std::int64_t>("GetValue", err); }
    const char* GetValueStr(ZelCamErr* err) override { return readText("GetValueStr", err); }
};

class EnumDouble final : public ParamDouble<ZelGenParam::Enum, ZelGenParam::kTypeEnum>
{
public:
    using ParamDouble::ParamDouble;
    std::int32_t GetCount(ZelCamErr* err) override { return read<std::int32_t>("GetCount", err); }
    ZelGenParam::EnumEntry* GetEnumEntryByIndex(std::int64_t index) override
    {
        return named<EntryDouble>(call("GetEnumEntryByIndex", index).result());
    }
    std::int64_t GetValue(ZelCamErr* err) override { return read<std::int64_t>("GetValue", err); }
    const char* GetValueStr(ZelCamErr* err) override { return readText("GetValueStr", err); }
    ZelCamErr SetValue(std::int64_t value) override { return call("SetValue", value).code(); }
    ZelCamErr SetValueStr(const char* symbol) override
    {
        return call("SetValueStr", symbol).code();
    }
};

Param* paramNamed(const Json& name);

class CategoryDouble final : public ParamDouble<ZelGenParam::Category, ZelGenParam::kTypeCategory>
{
public:
    using ParamDouble::ParamDouble;
    std::int32_t GetCount() override { return call("GetCount").number<std::int32_t>(); }
    Param* GetParamByIndex(std::int64_t index, ZelCamErr* err) override
    {
        return paramNamed(call("GetParamByIndex", index, err).err(err).result());
    }
};

/// The name tells the class: "Int:Gain", "Category:Root".
Param* paramNamed(const Json& name)
{
    const std::string text = name.is_string() ? name.get<std::string>() : "";
    const std::string kind = text.substr(0, text.find(':'));
    if (kind == "Int") {
        return named<IntDouble>(name);
    }
    if (kind == "Float") {
        return named<FloatDouble>(name);
    }
    if (kind == "Boolean") {
        return named<BooleanDouble>(name);
    }
    if (kind == "String") {
        return named<StringDouble>(name);
    }
    if (kind == "Command") {
        return named<CommandDouble>(name);
    }
    if (kind == "Enum") {
        return named<EnumDouble>(name);
    }
    return kind == "Category" ? named<CategoryDouble>(name) : nullptr;
}

class ArrayDouble final : public ZelGenParam::Array, public Scripted
{
public:
    using Scripted::Scripted;

    Param* GetParam(const char* name, ZelCamErr* err) override
    {
        return paramNamed(call("GetParam", name, err).err(err).result());
    }
    ZelGenParam::Boolean* GetBoolean(const char* name, ZelCamErr* err) override
    {
        return find<BooleanDouble>("GetBoolean", name, err);
    }
    ZelGenParam::Command* GetCommand(const char* name, ZelCamErr* err) override
    {
        return find<CommandDouble>("GetCommand", name, err);
    }
    ZelGenParam::Enum* GetEnum(const char* name, ZelCamErr* err) override
    {
        return find<EnumDouble>("GetEnum", name, err);
    }
    ZelGenParam::Float* GetFloat(const char* name, ZelCamErr* err) override
    {
        return find<FloatDouble>("GetFloat", name, err);
    }
    ZelGenParam::Int* GetInt(const char* name, ZelCamErr* err) override
    {
        return find<IntDouble>("GetInt", name, err);
    }
    ZelGenParam::String* GetString(const char* name, ZelCamErr* err) override
    {
        return find<StringDouble>("GetString", name, err);
    }
    ZelGenParam::Category* GetRootCategory(ZelCamErr* err) override
    {
        return named<CategoryDouble>(call("GetRootCategory", err).err(err).result());
    }
    ZelGenParam::NodeMap* GetNodeMap(ZelCamErr* err) override
    {
        return named<NodeMapDouble>(call("GetNodeMap", err).err(err).result());
    }
    std::int32_t GetCount() override { return call("GetCount").number<std::int32_t>(); }
    Param* GetParamByIndex(std::int64_t index, ZelCamErr* err) override
    {
        return paramNamed(call("GetParamByIndex", index, err).err(err).result());
    }
    ZelCamErr SetBooleanValue(const char* name, bool value) override
    {
        return call("SetBooleanValue", name, value).code();
    }
    bool GetBooleanValue(const char* name, ZelCamErr* err) override
    {
        return call("GetBooleanValue", name, err).err(err).number<bool>();
    }
    ZelCamErr SetEnumValueStr(const char* name, const char* symbol) override
    {
        return call("SetEnumValueStr", name, symbol).code();
    }
    ZelCamErr SetEnumValue(const char* name, std::int64_t value) override
    {
        return call("SetEnumValue", name, value).code();
    }
    const char* GetEnumValueStr(const char* name, ZelCamErr* err) override
    {
        return call("GetEnumValueStr", name, err).err(err).text();
    }
    std::int64_t GetEnumValue(const char* name, ZelCamErr* err) override
    {
        return call("GetEnumValue", name, err).err(err).number<std::int64_t>();
    }
    ZelCamErr SetFloatValue(const char* name, double value) override
    {
        return call("SetFloatValue", name, value).code();
    }
    double GetFloatValue(const char* name, ZelCamErr* err) override
    {
        return call("GetFloatValue", name, err).err(err).number<double>();
    }
    ZelCamErr SetIntegerValue(const char* name, std::int64_t value) override
    {
        return call("SetIntegerValue", name, value).code();
    }
    std::int64_t GetIntegerValue(const char* name, ZelCamErr* err) override
    {
        return call("GetIntegerValue", name, err).err(err).number<std::int64_t>();
    }
    ZelCamErr SetStringValue(const char* name, const char* value) override
    {
        return call("SetStringValue", name, value).code();
    }
    const char* GetStringValue(const char* name, ZelCamErr* err) override
    {
        return call("GetStringValue", name, err).err(err).text();
    }
    ZelCamErr ExecuteCommand(const char* name) override
    {
        return call("ExecuteCommand", name).code();
    }
    bool IsCommandDone(const char* name, ZelCamErr* err) override
    {
        return call("IsCommandDone", name, err).err(err).number<bool>();
    }

private:
    template <class T> T* find(const char* operation, const char* name, ZelCamErr* err) const
    {
        return named<T>(call(operation, name, err).err(err).result());
    }
};

} // namespace

ZelGenParam::Array* arrayNamed(const Json& name) { return named<ArrayDouble>(name); }

} // namespace zel_double
