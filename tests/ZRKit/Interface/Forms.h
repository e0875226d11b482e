// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Interface/ZRLabel.h"
#include "ZRKit/Interface/ZRMenu.h"
#include "ZRKit/Interface/ZRTextEditorField.h"
#include "platform/interface/NSNib.h"

/// The view of an interface file of version 4.0, of which this is what stands inside the element "ui"; nil if it isn't sound.
inline std::unique_ptr<QWidget> loadForm(const char *content) {
    return NSNib(QByteArray("<ui version=\"4.0\">") + content + "</ui>").instantiateWithOwner(nullptr);
}
