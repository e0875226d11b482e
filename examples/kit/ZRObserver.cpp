// SPDX-License-Identifier: MIT
#include "ZRKit/Operations/ZRObserver.h"

#include "examples/kit/Example.h"
#include "platform/base/NSException.h"

using namespace Qt::StringLiterals;

namespace {

class Song : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString title MEMBER m_title NOTIFY titleChanged)
    Q_PROPERTY(int plays READ plays)

public:
    int plays() const { return m_plays; }
    void play() {
        NSKeyValueObserving::willChangeValueForKey(this, u"plays"_s);
        ++m_plays;
        NSKeyValueObserving::didChangeValueForKey(this, u"plays"_s);
    }
    Q_SIGNAL void titleChanged();

private:
    QString m_title;
    int m_plays = 0;
};

class Display : public QObject {
    Q_OBJECT

public:
    int updates = 0;
    Q_INVOKABLE void update() { ++updates; }
};

} // namespace

EXAMPLE(ZRObserver) {
    Song song;
    QStringList seen;
    int played = 0;

    // observe: a block, of a property whose NOTIFY signal announces changes
    ZRObserver observer;
    observer.observe(&song, u"title"_s, [&](const QString &, QObject *, const QVariantMap &change, void *) {
        seen << change.value(NSKeyValueChangeNewKey).toString();
    });
    song.setProperty("title", u"Aria"_s);
    expect(seen == QStringList{u"Aria"_s});

    // A target and its action, of a key whose changes the class announces itself
    Display display;
    observer.observe(&song, u"plays"_s, &display, NSSelector("update"));
    song.play();
    song.play();
    expect(display.updates == 2);

    // Once: the observation ends after its first notification
    ZRObserver first;
    first.observe(&song, u"plays"_s, NSKeyValueObservingOptionNew, true,
                  [&](const QString &, QObject *, const QVariantMap &change, void *) {
                      played = change.value(NSKeyValueChangeNewKey).toInt();
                  });
    song.play();
    song.play();
    expect(played == 3);

    // Key paths lead from object to object.
    QObject album;
    album.setProperty("song", QVariant::fromValue<QObject *>(&song));
    ZRObserver ofAlbum;
    ofAlbum.observe(&album, u"song.title"_s,
                    [&](const QString &, QObject *object, const QVariantMap &, void *) {
                        seen << QString::fromLatin1(object->metaObject()->className());
                    });
    song.setProperty("title", u"Fugue"_s);
    expect(seen.contains(u"Fugue"_s) && seen.contains(u"QObject"_s));

    // removeAllObservers: nobody is told any more
    observer.removeAllObservers();
    expect(!observer.actions());
    song.play();
    expect(display.updates == 4);

    // Two observations of one key path share one registration: taking it back twice raises.
    ZRObserver twice;
    twice.observe(&song, u"plays"_s, &display, NSSelector("update"));
    twice.observe(&song, u"plays"_s, &display, NSSelector("update"));
    bool raised = false;
    try {
        twice.removeAllObservers();
    } catch (const NSException &exception) {
        raised = exception.name() == NSRangeException;
    }
    expect(raised);
}

#include "ZRObserver.moc"
