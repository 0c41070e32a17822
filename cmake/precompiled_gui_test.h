// As precompiled_forms.h, with the test framework.
#pragma once
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "cmake/precompiled_forms.h"
