// As precompiled.h, with the widget toolkit.
#pragma once
#include <wx/wx.h>

#include "cmake/precompiled.h"
