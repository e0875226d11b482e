// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Storage/NSFileManager+ZRKit.h"
#include "platform/files/NSBundle.h"
#include "platform/operations/NSErrorPresenter.h"
#include "platform/operations/NSThread.h"
#include "platform/store/NSManagedObject.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <mutex>

class Note : public NSManagedObject {
    NS_MANAGED_OBJECT(Note)
public:
    QString title() const { return valueForKey(QStringLiteral("title")).toString(); }
};

/// Runs each test with an application of its own: its folders, its model among its resources, and a presenter that writes
/// down which errors are shown, as "<domain> <code>", those of an alert as "alert <domain> <code>".
class StoreSupport : public testing::Test {
protected:
    StoreSupport() : m_home(qgetenv("XDG_DATA_HOME")) {
        QFile model(path("notes.model.json"));
        EXPECT_TRUE(model.open(QFile::WriteOnly));
        model.write(R"({"name": "Notes", "entities": [
          {"name": "Note", "attributes": {"title": {"type": "string", "optional": false, "minLength": 1, "default": "new"},
                                          "rank": {"type": "integer32"}}}]})");
        qputenv("XDG_DATA_HOME", path("Support").toUtf8());
        NSBundle::mainBundle().setResourcePath(folder.path());
        NSBundle::mainBundle().setInfoDictionary(
            {{QStringLiteral("CFBundleIdentifier"), QStringLiteral("com.example.notes")}});
        NSErrorPresenter::setSharedPresenter(presenter);
    }
    ~StoreSupport() override {
        NSErrorPresenter::setSharedPresenter(nullptr);
        NSBundle::mainBundle().setInfoDictionary({});
        NSBundle::mainBundle().setResourcePath({});
        m_home.isNull() ? qunsetenv("XDG_DATA_HOME") : qputenv("XDG_DATA_HOME", m_home);
    }

    struct Presenter : NSErrorPresenter {
        void presentError(const NSError &error) override { note(QString(), error); }
        void runModalAlert(const NSError &error) override {
            note(QStringLiteral("alert "), error);
            if (onAlert)
                onAlert();
        }
        void note(const QString &kind, const NSError &error) {
            EXPECT_TRUE(NSThread::isMainThread());
            shown << kind + error.domain() + QLatin1Char(' ') + QString::number(error.code());
            errors << error;
        }
        QStringList shown;
        QList<NSError> errors;
        std::function<void()> onAlert;
    };

    QString path(const char *name) const { return folder.filePath(QString::fromUtf8(name)); }
    /// What was shown since the last call.
    QStringList shown() { return std::exchange(presenter->shown, {}); }

    QTemporaryDir folder;
    std::shared_ptr<Presenter> presenter = std::make_shared<Presenter>();

private:
    const QByteArray m_home;
};
