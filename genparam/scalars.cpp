#include "genparam/scalars.h"

namespace ZelGenParamPy
{

using ZelGenParam::Param;

void PyGenParamBoolean::init_type()
{
    using Sdk = ZelGenParam::Boolean;
    describe("PyGenParamBoolean");
    noargs<&PyGenParamBoolean::ask<&Param::GetType, ZelGenParam::kTypeBoolean>>("GetType");
    noargs<&PyGenParamBoolean::read<&Sdk::GetValue>>("GetValue");
    noargs<&PyGenParamBoolean::ask<&Param::IsWritable, false>>("IsWritable");
    noargs<&PyGenParamBoolean::ask<&Param::IsReadable, false>>("IsReadable");
    varargs<&PyGenParamBoolean::write<&Sdk::SetValue>>("SetValue");
}

void PyGenParamInt::init_type()
{
    using Sdk = ZelGenParam::Int;
    describe("PyGenParamInt");
    noargs<&PyGenParamInt::ask<&Param::GetType, ZelGenParam::kTypeInt>>("GetType");
    noargs<&PyGenParamInt::read<&Sdk::GetValue>>("GetValue");
    noargs<&PyGenParamInt::ask<&Param::IsWritable, false>>("IsWritable");
    noargs<&PyGenParamInt::ask<&Param::IsReadable, false>>("IsReadable");
    noargs<&PyGenParamInt::read<&Sdk::GetMin>>("GetMin");
    noargs<&PyGenParamInt::read<&Sdk::GetMax>>("GetMax");
    noargs<&PyGenParamInt::read<&Sdk::GetIncrement>>("GetIncrement");
    varargs<&PyGenParamInt::write<&Sdk::SetValue>>("SetValue");
}

void PyGenParamFloat::init_type()
{
    using Sdk = ZelGenParam::Float;
    describe("PyGenParamFloat");
    noargs<&PyGenParamFloat::ask<&Param::GetType, ZelGenParam::kTypeFloat>>("GetType");
    noargs<&PyGenParamFloat::read<&Sdk::GetValue>>("GetValue");
    noargs<&PyGenParamFloat::ask<&Param::IsWritable, false>>("IsWritable");
    noargs<&PyGenParamFloat::ask<&Param::IsReadable, false>>("IsReadable");
    noargs<&PyGenParamFloat::read<&Sdk::GetMin>>("GetMin");
    noargs<&PyGenParamFloat::read<&Sdk::GetMax>>("GetMax");
    noargs<&PyGenParamFloat::read<&Sdk::GetUnit>>("GetUnit");
    varargs<&PyGenParamFloat::write<&Sdk::SetValue>>("SetValue");
}

void PyGenParamString::init_type()
{
    using Sdk = ZelGenParam::String;
    describe("PyGenParamString");
    noargs<&PyGenParamString::ask<&Param::GetType, ZelGenParam::kTypeString>>("GetType");
    noargs<&PyGenParamString::ask<&Param::IsWritable, false>>("IsWritable");
    noargs<&PyGenParamString::ask<&Param::IsReadable, false>>("IsReadable");
    noargs<&PyGenParamString::read<&Sdk::GetValue>>("GetValue");
    noargs<&PyGenParamString::askWithoutCode<&Sdk::GetMaxLength, 0>>("GetMaxLength");
    varargs<&PyGenParamString::write<&Sdk::SetValue>>("SetValue");
}

void PyGenParamCommand::init_type()
{
    using Sdk = ZelGenParam::Command;
    describe("PyGenParamCommand");
    noargs<&PyGenParamCommand::run<&Sdk::Execute>>("Execute");
    noargs<&PyGenParamCommand::askWithoutCode<&Sdk::IsDone, false>>("IsDone");
}

} // namespace ZelGenParamPy
