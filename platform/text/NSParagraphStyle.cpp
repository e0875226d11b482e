// SPDX-License-Identifier: MIT
#include "platform/text/NSParagraphStyle.h"

#include "moc_NSParagraphStyle.cpp"
