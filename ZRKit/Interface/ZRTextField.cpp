// SPDX-License-Identifier: MIT
#include "ZRKit/Interface/ZRTextField.h"

#include "platform/values/NSKeyValueCoding.h"
#include "platform/values/NSNull.h"
#include "platform/values/NSObjectRuntime.h"
#include "platform/values/NSValueTransformer.h"

void ZRTextField::awakeFromNib() {
    setDelegate(this);
}

/// \return whether the field is still there
bool ZRTextField::tellDelegate(const char *method) {
    const QPointer<ZRTextField> living = this;
    const NSSelector message(method);
    const QVariant delegate = QVariant::fromValue(m_responderDelegate.data());
    if (NSObjectRuntime::respondsTo(delegate, message))
        NSObjectRuntime::perform(delegate, message, {QVariant::fromValue(this)});
    return living;
}

bool ZRTextField::becomeFirstResponder() {
    if (!tellDelegate("textFieldWillBecomeFirstResponder:"))
        return false;
    const QPointer<ZRTextField> living = this;
    const bool isFirst = NSTextField::becomeFirstResponder();
    return living && tellDelegate("textFieldDidBecomeFirstResponder:") && isFirst;
}

void ZRTextField::doBecomeFirstResponder(QObject *) {
    becomeFirstResponder();
}

void ZRTextField::normalizeText() {
    const auto binding = infoForBinding(QStringLiteral("value"));
    if (!binding)
        return;
    const auto transformer =
        NSKeyValueCoding::valueForKeyPath(*binding, QStringLiteral("NSOptions.NSValueTransformer"))
            .value<std::shared_ptr<NSValueTransformer>>();
    if (!transformer)
        return;
    const QVariant shown = transformer->transformedValue(transformer->reverseTransformedValue(stringValue()));
    if (!NSIsNil(shown) && NSObjectRuntime::hasStringValue(shown))
        setStringValue(NSObjectRuntime::stringValue(shown));
}

void ZRTextField::textDidEndEditing(const NSNotification &notification) {
    const QPointer<ZRTextField> living = this;
    try {
        normalizeText();
    } catch (...) {
        // The text stays as it was typed.
    }
    if (!living || !tellDelegate("textFieldWillResignFirstResponder:"))
        return;
    NSTextField::textDidEndEditing(notification);
    if (living)
        tellDelegate("textFieldDidResignFirstResponder:");
}

#include "moc_ZRTextField.cpp"
