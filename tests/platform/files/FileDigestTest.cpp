// SPDX-License-Identifier: MIT
#include "platform/files/FileDigest.h"

#include "tests/support/InChild.h"

#include <QFile>
#include <QTemporaryDir>
#include <atomic>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace {

using namespace Qt::StringLiterals;
using namespace zr;

/// From here on, this process can take only so many bytes more.
void allowNoMoreMemoryThan(rlim_t more) {
    // Sanitizers reserve terabytes for themselves.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    long pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    const rlim_t bytes = rlim_t(pages) * rlim_t(::sysconf(_SC_PAGESIZE)) + more;
    const rlimit memory{bytes, bytes};
    ASSERT_EQ(::setrlimit(RLIMIT_AS, &memory), 0);
#else
    (void)more;
#endif
}

class FileDigest : public testing::Test {
protected:
    QString put(const QByteArray &content) const {
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        EXPECT_EQ(file.write(content), content.size());
        return path;
    }

    QTemporaryDir folder;
    const QString path = folder.filePath(u"file"_s);
};

} // namespace

TEST_F(FileDigest, IsThatOfTheWholeContent) {
    for (const qsizetype size : {0, 1, 3, 255 << 10, 256 << 10, (256 << 10) + 1, 5'000'000}) {
        QByteArray content(size, Qt::Uninitialized);
        for (qsizetype i = 0; i < size; ++i)
            content[i] = char(i * 31 + i / 997);
        put(content);
        for (const MessageDigest digest : {MessageDigest::MD5, MessageDigest::SHA1, MessageDigest::SHA256})
            EXPECT_EQ(NSMessageDigestOfFile(digest, path), NSMessageDigest(digest, content)) << size;
    }
}

TEST_F(FileDigest, OfWhatCannotBeReadIsThatOfNoBytes) {
    const QByteArray none =
        QByteArray::fromHex("e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    ASSERT_EQ(::mkfifo(path.toUtf8().constData(), 0600), 0);
    for (const QString &what : {folder.filePath(u"missing"_s), folder.path(), path, QString(), u""_s})
        EXPECT_EQ(NSMessageDigestOfFile(MessageDigest::SHA256, what), none) << qPrintable(what);
    // Its first page can't be read, for nobody.
    EXPECT_EQ(NSMessageDigestOfFile(MessageDigest::SHA256, u"/proc/self/mem"_s), none);
}

TEST_F(FileDigest, OfAFileThatMayNotBeReadIsThatOfNoBytes) {
    put("abc");
    ASSERT_EQ(::chmod(path.toUtf8().constData(), 0), 0);
    ASSERT_EQ(::chmod(folder.path().toUtf8().constData(), 0755), 0);
    checkInChild([&] {
        becomeOrdinaryUser();
        EXPECT_EQ(NSMessageDigestOfFile(MessageDigest::MD5, path), NSMessageDigest(MessageDigest::MD5, {}));
    });
}

TEST_F(FileDigest, FollowsLinks) {
    put("abc");
    ASSERT_TRUE(QFile::link(path, folder.filePath(u"link"_s)));
    EXPECT_EQ(NSMessageDigestOfFile(MessageDigest::MD5, folder.filePath(u"link"_s)),
              NSMessageDigest(MessageDigest::MD5, "abc"));
}

TEST_F(FileDigest, FilesThatSayTheyAreEmptyAreReadToTheirEnd) {
    QFile file(u"/proc/version"_s);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray content = file.readAll();
    ASSERT_FALSE(content.isEmpty());
    EXPECT_EQ(NSMessageDigestOfFile(MessageDigest::SHA256, u"/proc/version"_s),
              NSMessageDigest(MessageDigest::SHA256, content));
}

TEST_F(FileDigest, OfAFileThatGrowsIsThatOfWhatItHeldAtTheBeginning) {
    constexpr qsizetype Size = 8 << 20;
    constexpr qsizetype Step = 40'000;
    put(QByteArray(Size, '\0'));
    std::atomic<bool> begun = false;
    std::atomic<bool> done = false;
    int steps = 0;
    std::thread writer([&] {
        // Extended, a file has its new size at once, while a write adds page after page.
        for (; steps < 100 && !done; ++steps, begun = true)
            ASSERT_EQ(::truncate(path.toUtf8().constData(), Size + (steps + 1) * Step), 0);
    });
    while (!begun)
        std::this_thread::yield();
    const QByteArray digest = NSMessageDigestOfFile(MessageDigest::SHA256, path);
    done = true;
    writer.join();
    // Which size it had then isn't known; but it was one of these.
    const QByteArray content(Size + steps * Step, '\0');
    int matches = 0;
    for (int i = 0; i <= steps; ++i)
        matches +=
            digest == NSMessageDigest(MessageDigest::SHA256, QByteArrayView(content).first(Size + i * Step));
    EXPECT_EQ(matches, 1);
}

TEST_F(FileDigest, OfSeveralGigabytesTakesNoMoreMemory) {
    put({});
    ASSERT_EQ(::truncate(path.toUtf8().constData(), 2'200'000'000), 0);
    checkInChild([&] {
        NSMessageDigest(MessageDigest::MD5, "warm");
        allowNoMoreMemoryThan(4 << 20);
        EXPECT_EQ(NSMessageDigestOfFile(MessageDigest::MD5, path).toHex(),
                  "6f6a118ffdbc52d54cd254c302b95453");
    });
}
