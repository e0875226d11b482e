// SPDX-License-Identifier: MIT
#include "ZRKit/Queue/ClaimStore.h"

#include "platform/base/NSException.h"
#include "tests/support/LoopbackServers.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <set>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace zr;

namespace {

class ClaimStoreTest : public testing::Test {
protected:
    ClaimStore store() const { return ClaimStore(QUrl::fromLocalFile(m_folder.path())); }
    QString path(const QByteArray &name) const { return m_folder.filePath(QString::fromLatin1(name)); }
    QStringList files() const {
        return QDir(m_folder.path()).entryList(QDir::Files | QDir::Hidden | QDir::System);
    }

    QTemporaryDir m_folder;
};

template <typename Step>
QString reasonOf(Step step) {
    try {
        step();
    } catch (const NSException &exception) {
        return exception.reason();
    }
    return {};
}

/// What looks like a name and is one that nothing has.
const QByteArray stranger(64, 'a');

} // namespace

TEST_F(ClaimStoreTest, KeepsBodiesInAFolderUntilTheyAreRemoved) {
    const ClaimStore store = this->store();
    const QByteArray body(3 << 20, '\0');
    const QByteArray name = store.put(body);
    const QByteArray empty = store.put("");
    EXPECT_EQ(files().size(), 2);
    EXPECT_EQ(store.get(name), body);
    EXPECT_EQ(store.get(empty), "");
    store.remove(name);
    store.remove(empty);
    EXPECT_EQ(files().size(), 0);
    store.remove(name);
}

TEST_F(ClaimStoreTest, TakesAFolderWithASlashAtItsEnd) {
    const ClaimStore store(QUrl::fromLocalFile(m_folder.path() + u'/'));
    EXPECT_EQ(store.get(store.put("body")), "body");
    EXPECT_EQ(files().size(), 1);
}

TEST_F(ClaimStoreTest, GivesNamesThatNobodyCanGuess) {
    const ClaimStore store = this->store();
    std::set<QByteArray> names;
    for (int index = 0; index < 100; ++index)
        names.insert(store.put("x"));
    EXPECT_EQ(names.size(), 100U);
    for (const QByteArray &name : names)
        EXPECT_EQ(name.size(), 64);
}

TEST_F(ClaimStoreTest, SaysWhenAClaimIsNotThereAnyMore) {
    EXPECT_EQ(reasonOf([&] { store().get(stranger); }), u"the document's claim is not in the store any more");
}

TEST_F(ClaimStoreTest, LeadsNowhereElse) {
    const ClaimStore store = this->store();
    for (const QByteArray &name :
         {QByteArray("../../etc/passwd"), QByteArray("/etc/passwd"), QByteArray(""), QByteArray("."),
          QByteArray(".."), QByteArray("http://127.0.0.1/"), QByteArray(64, '/'), QByteArray(64, 'A'),
          QByteArray(65, 'a'), QByteArray(63, 'a') + '\0', QByteArray(60, 'a') + "/../"}) {
        EXPECT_EQ(reasonOf([&] { store.get(name); }), u"the message's claim is none") << name.constData();
        EXPECT_EQ(reasonOf([&] { store.remove(name); }), u"the message's claim is none") << name.constData();
    }
}

TEST_F(ClaimStoreTest, FollowsNoLinksAndReadsNothingButFiles) {
    ASSERT_TRUE(QFile::link(u"/etc/passwd"_s, path(stranger)));
    EXPECT_FALSE(reasonOf([&] { store().get(stranger); }).isEmpty());
    QFile::remove(path(stranger));
    ASSERT_TRUE(QDir().mkdir(path(stranger)));
    EXPECT_EQ(reasonOf([&] { store().get(stranger); }),
              u"the document's claim is no file that could be read");
}

TEST_F(ClaimStoreTest, RemovesWhatIsTooOldAndNothingElse) {
    const ClaimStore store = this->store();
    const QByteArray old = store.put("old");
    const QByteArray young = store.put("young");
    QFile other(m_folder.filePath(u"notes.txt"_s));
    ASSERT_TRUE(other.open(QIODevice::WriteOnly));
    QFile aged(path(old));
    ASSERT_TRUE(aged.open(QIODevice::ReadWrite));
    const QDateTime yesterday = QDateTime::currentDateTime().addDays(-1);
    ASSERT_TRUE(aged.setFileTime(yesterday, QFileDevice::FileModificationTime));
    ASSERT_TRUE(other.setFileTime(yesterday, QFileDevice::FileModificationTime));
    // What a writer that was killed had not finished, where files can't be without a name.
    QFile unfinished(m_folder.filePath(u".atomic-1"_s));
    ASSERT_TRUE(unfinished.open(QIODevice::WriteOnly));
    ASSERT_TRUE(unfinished.setFileTime(yesterday, QFileDevice::FileModificationTime));
    EXPECT_EQ(store.removeOlderThan(std::chrono::hours(1)), 2);
    EXPECT_FALSE(unfinished.exists());
    EXPECT_EQ(store.get(young), "young");
    EXPECT_FALSE(QFile::exists(path(old)));
    EXPECT_TRUE(other.exists());
}

TEST_F(ClaimStoreTest, RefusesUrlsThatCanBeNoStore) {
    for (const QString &url :
         {u""_s, u"relative"_s, u"ftp://host/"_s, u"file://elsewhere/folder"_s, u"http://"_s,
          u"http://host/?a=b"_s, u"http://host/#x"_s, u"file:///no/such/folder"_s, u"file:///etc/passwd"_s})
        EXPECT_THROW(ClaimStore{QUrl(url)}, NSException) << url.toStdString();
}

TEST_F(ClaimStoreTest, KeepsBodiesOnAnHTTPServer) {
    const NginxServer server;
    for (const QString &path : {u"/store/"_s, u"/store"_s}) {
        const ClaimStore store(server.url(path));
        const QByteArray body = server.large() + server.large();
        const QByteArray name = store.put(body);
        EXPECT_EQ(server.stored(), QStringList(QString::fromLatin1(name)));
        EXPECT_EQ(store.get(name), body);
        store.remove(name);
        EXPECT_EQ(server.stored(), QStringList());
        store.remove(name);
        EXPECT_EQ(reasonOf([&] { store.get(name); }), u"the document's claim is not in the store any more");
        EXPECT_EQ(store.removeOlderThan(std::chrono::seconds(0)), 0);
    }
}

TEST_F(ClaimStoreTest, FollowsNoRedirectsOfAServer) {
    const NginxServer server;
    const ClaimStore store(server.url(u"/moved-store/"_s));
    EXPECT_EQ(reasonOf([&] { store.put("body"); }), u"the store of documents fails: status 307");
    EXPECT_EQ(reasonOf([&] { store.get(stranger); }), u"the store of documents fails: status 307");
}

TEST_F(ClaimStoreTest, SaysWhatAServerAnswers) {
    const NginxServer server;
    const ClaimStore readOnly(server.url(u"/"_s));
    EXPECT_EQ(reasonOf([&] { readOnly.put("body"); }), u"the store of documents fails: status 405");
    const ClaimStore locked(server.url(u"/basic/upload/"_s));
    EXPECT_EQ(reasonOf([&] { locked.put("body"); }), u"the store of documents fails: status 401");
    QUrl url = server.url(u"/basic/upload/"_s);
    url.setUserName(u"user"_s);
    url.setPassword(u"secret"_s);
    const ClaimStore opened(url);
    EXPECT_EQ(opened.get(opened.put("body")), "body");
}

TEST_F(ClaimStoreTest, WaitsForNoServerLongerThanItIsTo) {
    ScriptedServer server([](int, const QByteArray &) {
        return ScriptedServer::Answer{"HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nslow", false};
    });
    const ClaimStore store(server.url(u"/"_s), std::chrono::milliseconds(300));
    const QString late = u"the store of documents fails: The request timed out."_s;
    EXPECT_EQ(reasonOf([&] { store.get(stranger); }), late);
    EXPECT_EQ(reasonOf([&] { store.put("body"); }), late);
    EXPECT_EQ(server.requests().size(), 2);
}

TEST_F(ClaimStoreTest, TriesAServerInTroubleAgain) {
    ScriptedServer server([](int number, const QByteArray &) {
        return ScriptedServer::Answer{
            number == 0 ? "HTTP/1.1 503 Busy\r\nContent-Length: 0\r\nConnection: close\r\n\r\n"
                        : "HTTP/1.1 201 Made\r\nContent-Length: 0\r\nConnection: close\r\n\r\n"};
    });
    const ClaimStore store(server.url(u"/"_s));
    store.put("body");
    EXPECT_EQ(server.requests().size(), 2);
}
