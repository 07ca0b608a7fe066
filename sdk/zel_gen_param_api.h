// The parameter API (part of libZelCameraApi.so): GenICam parameters as objects and by name.
#pragma once

#include "zel_err.h"
#include "zel_export.h"
#include "zel_gen_param/array.h"
#include "zel_gen_param/category.h"
#include "zel_gen_param/enumeration.h"
#include "zel_gen_param/node.h"
#include "zel_gen_param/param.h"
#include "zel_gen_param/scalars.h"
