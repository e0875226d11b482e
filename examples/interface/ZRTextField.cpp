// SPDX-License-Identifier: MIT
#include "ZRKit/Interface/ZRTextField.h"

#include "ZRKit/Interface/ZRLabel.h"
#include "ZRKit/Interface/ZRTextEditorField.h"
#include "examples/kit/Example.h"
#include "platform/base/NSException.h"
#include "platform/observing/NSKeyValueBinding.h"
#include "platform/values/NSValueTransformer.h"

#include <QApplication>

using namespace Qt::StringLiterals;

class Song : public QObject {
    Q_OBJECT
    Q_PROPERTY(QVariant seconds READ seconds WRITE setSeconds NOTIFY secondsChanged)

public:
    QVariant seconds() const { return m_seconds; }
    void setSeconds(const QVariant &seconds) {
        m_seconds = seconds;
        Q_EMIT secondsChanged();
    }

Q_SIGNALS:
    void secondsChanged();

private:
    QVariant m_seconds = 61;
};

// Minutes and seconds, 1:01.
class Duration : public NSValueTransformer {
public:
    bool allowsReverseTransformation() const override { return true; }
    QVariant transformedValue(const QVariant &value) const override {
        const int seconds = value.toInt();
        return u"%1:%2"_s.arg(seconds / 60).arg(seconds % 60, 2, 10, QLatin1Char('0'));
    }
    QVariant reverseTransformedValue(const QVariant &value) const override {
        const QStringList parts = value.toString().split(u':');
        if (parts.size() != 2)
            throw NSException(NSInvalidArgumentException, u"no duration"_s);
        return parts.at(0).toInt() * 60 + parts.at(1).toInt();
    }
};

class Listener : public QObject {
    Q_OBJECT

public:
    Q_INVOKABLE void textFieldDidBecomeFirstResponder(ZRTextField *) { calls += u"became"_s; }
    Q_INVOKABLE void textFieldWillResignFirstResponder(ZRTextField *field) {
        calls += u"leaves with "_s + field->stringValue();
    }

    QStringList calls;
};

namespace {

/// What happens if the user selects the field's text and types another one.
void type(NSTextField &field, const QString &text) {
    field.selectText(nullptr);
    field.currentEditor()->insertText(text);
}

} // namespace

EXAMPLE(ZRTextField) {
    QWidget window;
    auto *const field = new ZRTextField(&window);
    auto *const other = new ZRTextField(&window);
    window.show();
    window.activateWindow();

    // Focus
    Listener listener;
    field->setResponderDelegate(&listener);
    expect(field->becomeFirstResponder());
    expect(listener.calls == QStringList{u"became"_s});

    // A value that is shown, and written back
    Song song;
    field->bind(u"value"_s, &song, u"seconds"_s,
                {{NSValueTransformerBindingOption,
                  QVariant::fromValue<std::shared_ptr<NSValueTransformer>>(std::make_shared<Duration>())}});
    expect(field->stringValue() == u"1:01"_s);
    song.setSeconds(125);
    expect(field->stringValue() == u"2:05"_s);
    type(*field, u"3:7"_s);
    other->becomeFirstResponder();
    expect(field->stringValue() == u"3:07"_s && song.seconds() == 187);
    expect(listener.calls.last() == u"leaves with 3:07"_s);

    // What the transformer doesn't understand stays as it was typed, and isn't written.
    type(*field, u"long"_s);
    other->becomeFirstResponder();
    expect(field->stringValue() == u"long"_s && song.seconds() == 187);

    // Many lines: Return breaks the line
    ZRTextEditorField notes;
    notes.awakeFromNib(); // as the loader of interface files does
    expect(notes.delegate() == &notes && !notes.usesSingleLineMode());
    notes.setStringValue(u"one\ntwo"_s);

    // A label
    ZRLabel label;
    label.setStringValue(u"Notes"_s);
    label.setValue(u"yes"_s, u"shadow"_s); // an attribute of an interface file
    expect(label.cell()->backgroundStyle() == NSBackgroundStyleRaised);
}

#include "ZRTextField.moc"
