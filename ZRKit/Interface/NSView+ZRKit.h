// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Values/NSAutoresizing+ZRKit.h"
