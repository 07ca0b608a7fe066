#include "genparam/enumeration.h"

namespace ZelGenParamPy
{

using ZelGenParam::Param;

void PyGenParamEnum::init_type()
{
    using Sdk = ZelGenParam::Enum;
    describe("PyGenParamEnum");
    noargs<&PyGenParamEnum::read<&Sdk::GetCount>>("GetCount");
    noargs<&PyGenParamEnum::read<&Sdk::GetValue>>("GetValue");
    noargs<&PyGenParamEnum::read<&Sdk::GetValueStr>>("GetValueStr");
    varargs<&PyGenParamEnum::SetValue>("SetValue");
    varargs<&PyGenParamEnum::SetValueStr>("SetValueStr");
    noargs<&PyGenParamEnum::ask<&Param::GetType, ZelGenParam::kTypeEnum>>("GetType");
    varargs<&PyGenParamEnum::GetEnumEntryByIndex>("GetEnumEntryByIndex");
}

Py::Object PyGenParamEnum::SetValue(const Py::Tuple& args)
{
    if (binding::tooFew(args, {1, "GPyGenParamEnum_SetValue not enough actual args\n"}) ||
        param() == nullptr) {
        return Py::None();
    }
    return binding::toPython(param()->SetValue(binding::toInt64(args[0])) == ZelErr::kOk);
}

Py::Object PyGenParamEnum::SetValueStr(const Py::Tuple& args)
{
    if (binding::tooFew(args, {1, "GPyGenParamEnum_SetValueStr not enough actual args\n"}) ||
        param() == nullptr) {
        return Py::None();
    }
    const std::string symbol = binding::toText(args[0]);
    return binding::toPython(param()->SetValueStr(symbol.c_str()) == ZelErr::kOk);
}

Py::Object PyGenParamEnum::GetEnumEntryByIndex(const Py::Tuple& args)
{
    if (binding::tooFew(args, {1, "GetEnumEntryByIndex not enough actual args\n"}) ||
        param() == nullptr) {
        return Py::None();
    }
    const std::int64_t index = binding::toInt64(args[0]);
    return binding::makeOrNone<PyGenParamEnumEntry>(param()->GetEnumEntryByIndex(index));
}

void PyGenParamEnumEntry::init_type()
{
    using Sdk = ZelGenParam::EnumEntry;
    describe("PyGenParamEnumEntry");
    noargs<&PyGenParamEnumEntry::read<&Sdk::GetValue>>("GetValue");
    noargs<&PyGenParamEnumEntry::read<&Sdk::GetValueStr>>("GetValueStr");
    noargs<&PyGenParamEnumEntry::ask<&Param::GetType, ZelGenParam::kTypeEnumEntry>>("GetType");
    noargs<&PyGenParamEnumEntry::ask<&Param::IsAvailable, false>>("IsAvailable");
}

} // namespace ZelGenParamPy
