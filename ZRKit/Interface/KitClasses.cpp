// SPDX-License-Identifier: MIT
#include "ZRKit/Interface/KitClasses.h"

#include "ZRKit/Interface/ZRLabel.h"
#include "ZRKit/Interface/ZRMenu.h"
#include "ZRKit/Interface/ZRSplitView.h"
#include "ZRKit/Interface/ZRTextEditorField.h"
#include "ZRKit/Interface/ZRTextField.h"
#include "ZRKit/Interface/ZRView.h"
#include "ZRKit/Interface/ZRWindow.h"
#include "platform/interface/NSNib.h"

void zr::registerKitClasses() {
    NSNib::registerClass<ZRLabel>();
    NSNib::registerClass<ZRMenu>();
    NSNib::registerClass<ZRSplitView>();
    NSNib::registerClass<ZRTextEditorField>();
    NSNib::registerClass<ZRTextField>();
    NSNib::registerClass<ZRView>();
    NSNib::registerClass<ZRWindow>();
}

namespace {

const bool areRegistered = (zr::registerKitClasses(), true);

} // namespace
