// SPDX-License-Identifier: MIT
#pragma once

/// Makes libcurl ready, once a process; false where it can't be. Any thread.
bool initialiseCurl();
