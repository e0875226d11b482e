// SPDX-License-Identifier: MIT
#include "platform/files/AtomicFile.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <pthread.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace zr;

namespace {

using Existing = AtomicFile::Existing;

class AtomicFileTest : public testing::Test {
protected:
    QByteArray path(const char *name) const { return folder.path().toUtf8() + '/' + name; }
    QStringList names() const {
        return QDir(folder.path())
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot | QDir::System);
    }
    static QByteArray read(const QByteArray &path) {
        QFile file(QString::fromUtf8(path));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    static void put(const QByteArray &path, const QByteArray &content) {
        QFile file(QString::fromUtf8(path));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_EQ(file.write(content), content.size());
    }
    static std::error_code write(const QByteArray &path, const QByteArray &content, Existing existing) {
        AtomicFile file(path, existing);
        const std::error_code error = file.open();
        return error ? error : file.commit(content);
    }

    QTemporaryDir folder;
};

/// From here on the process's opens of nameless files fail, and its renameat2() where `renames` says so, as
/// on file systems that can't do them.
bool withdrawSystemCalls(bool renames) {
    constexpr auto number = offsetof(seccomp_data, nr);
    constexpr auto flags = offsetof(seccomp_data, args) + 2 * sizeof(quint64);
    std::array<sock_filter, 8> program{
        sock_filter BPF_STMT(BPF_LD | BPF_W | BPF_ABS, number),
        sock_filter BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_renameat2, 4, 0),
        sock_filter BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_openat, 0, 2),
        sock_filter BPF_STMT(BPF_LD | BPF_W | BPF_ABS, flags),
        sock_filter BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, O_TMPFILE & ~O_DIRECTORY, 2, 0),
        sock_filter BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
        sock_filter BPF_STMT(BPF_RET | BPF_K, renames ? SECCOMP_RET_ERRNO | EINVAL : SECCOMP_RET_ALLOW),
        sock_filter BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EOPNOTSUPP),
    };
    const sock_fprog filter{program.size(), program.data()};
    return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
}

/// Runs the check in a process of its own and gives its verdict.
template <typename Check>
bool holdsInChild(Check check) {
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(check() ? 0 : 1);
    int status = -1;
    return ::waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

TEST_F(AtomicFileTest, NothingIsSeenBeforeTheCommitAndTheWholeContentAfter) {
    AtomicFile file(path("a.pdf"), Existing::Kept);
    ASSERT_FALSE(file.open());
    EXPECT_EQ(names(), QStringList());
    ASSERT_FALSE(file.commit("content"));
    EXPECT_EQ(names(), QStringList{QStringLiteral("a.pdf")});
    EXPECT_EQ(read(path("a.pdf")), "content");
}

TEST_F(AtomicFileTest, WithoutACommitNothingHasHappened) {
    {
        AtomicFile file(path("a.pdf"), Existing::Kept);
        ASSERT_FALSE(file.open());
    }
    EXPECT_EQ(names(), QStringList());
}

TEST_F(AtomicFileTest, NewFilesHaveThePermissionsOfTheUsersMask) {
    const mode_t before = ::umask(027);
    EXPECT_FALSE(write(path("a.pdf"), "x", Existing::Kept));
    ::umask(before);
    struct stat status {};
    ASSERT_EQ(::stat(path("a.pdf").constData(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0640u);
}

TEST_F(AtomicFileTest, AnExistingFileIsKept) {
    put(path("a.pdf"), "old");
    EXPECT_EQ(write(path("a.pdf"), "new", Existing::Kept), std::errc::file_exists);
    EXPECT_EQ(read(path("a.pdf")), "old");
}

TEST_F(AtomicFileTest, AFileThatAppearsMeanwhileIsKept) {
    AtomicFile file(path("a.pdf"), Existing::Kept);
    ASSERT_FALSE(file.open());
    put(path("a.pdf"), "another's");
    EXPECT_EQ(file.commit("new"), std::errc::file_exists);
    EXPECT_EQ(read(path("a.pdf")), "another's");
    EXPECT_EQ(names().size(), 1);
}

TEST_F(AtomicFileTest, ReplacingKeepsThePermissionsAndLeavesNoNeighbour) {
    put(path("a.pdf"), "a longer old content");
    ASSERT_EQ(::chmod(path("a.pdf").constData(), 0604), 0);
    EXPECT_FALSE(write(path("a.pdf"), "new", Existing::Replaced));
    EXPECT_EQ(read(path("a.pdf")), "new");
    EXPECT_EQ(names(), QStringList{QStringLiteral("a.pdf")});
    struct stat status {};
    ASSERT_EQ(::stat(path("a.pdf").constData(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0604u);
}

TEST_F(AtomicFileTest, ReplacingIsByRenameSoThatReadersKeepTheOldContent) {
    put(path("a.pdf"), "old");
    QFile reader(QString::fromUtf8(path("a.pdf")));
    ASSERT_TRUE(reader.open(QIODevice::ReadOnly));
    EXPECT_FALSE(write(path("a.pdf"), "new", Existing::Replaced));
    EXPECT_EQ(reader.readAll(), "old");
}

TEST_F(AtomicFileTest, ReplacingWhatIsNotThereMakesIt) {
    EXPECT_FALSE(write(path("a.pdf"), "new", Existing::Replaced));
    EXPECT_EQ(read(path("a.pdf")), "new");
}

TEST_F(AtomicFileTest, ReplacingThroughALinkReplacesTheFileBehindIt) {
    ASSERT_TRUE(QDir(folder.path()).mkdir(QStringLiteral("elsewhere")));
    put(path("elsewhere/real.pdf"), "old");
    ASSERT_EQ(::symlink("elsewhere/real.pdf", path("a.pdf").constData()), 0);
    EXPECT_EQ(write(path("a.pdf"), "new", Existing::Kept), std::errc::file_exists);
    EXPECT_FALSE(write(path("a.pdf"), "new", Existing::Replaced));
    EXPECT_EQ(read(path("elsewhere/real.pdf")), "new");
    EXPECT_TRUE(QFileInfo(QString::fromUtf8(path("a.pdf"))).isSymLink());
}

TEST_F(AtomicFileTest, ALinkToNowhereIsKeptOrReplacedItself) {
    ASSERT_EQ(::symlink("missing", path("a.pdf").constData()), 0);
    EXPECT_EQ(write(path("a.pdf"), "new", Existing::Kept), std::errc::file_exists);
    EXPECT_FALSE(write(path("a.pdf"), "new", Existing::Replaced));
    EXPECT_EQ(read(path("a.pdf")), "new");
    EXPECT_EQ(names(), QStringList{QStringLiteral("a.pdf")});
}

TEST_F(AtomicFileTest, TellsEarlyOfPlacesThatCannotTakeAFile) {
    put(path("file"), "x");
    const auto opens = [](const QByteArray &path) { return AtomicFile(path, Existing::Replaced).open(); };
    EXPECT_EQ(opens(path("missing/a.pdf")), std::errc::no_such_file_or_directory);
    EXPECT_EQ(opens(path("file/a.pdf")), std::errc::not_a_directory);
    EXPECT_EQ(opens(folder.path().toUtf8()), std::errc::is_a_directory);
    EXPECT_EQ(opens(path("a/")), std::errc::is_a_directory);
    EXPECT_EQ(opens(QByteArray()), std::errc::no_such_file_or_directory);
    EXPECT_EQ(opens("/dev/null"), std::errc::file_exists);
    EXPECT_EQ(opens(path(QByteArray(256, 'n').constData())), std::errc::filename_too_long);
}

TEST_F(AtomicFileTest, TellsEarlyOfAReadOnlyFolder) {
    ASSERT_EQ(::chmod(folder.path().toUtf8().constData(), 0555), 0);
    EXPECT_TRUE(holdsInChild([&] {
        // Permissions don't bind root.
        if (::geteuid() == 0 && ::setresuid(65534, 65534, 65534) != 0)
            return false;
        return AtomicFile(path("a.pdf"), Existing::Kept).open() == std::errc::permission_denied;
    }));
    ASSERT_EQ(::chmod(folder.path().toUtf8().constData(), 0755), 0);
}

TEST_F(AtomicFileTest, CommitWithoutOpenIsAnError) {
    AtomicFile file(path("a.pdf"), Existing::Kept);
    EXPECT_EQ(file.commit("x"), std::errc::bad_file_descriptor);
    EXPECT_EQ(names(), QStringList());
}

TEST_F(AtomicFileTest, NamesOfTheFullLengthAndOfAnyBytesWork) {
    const QByteArray longest(255, 'n');
    EXPECT_FALSE(write(path(longest.constData()), "1", Existing::Kept));
    EXPECT_FALSE(write(path(longest.constData()), "2", Existing::Replaced));
    EXPECT_EQ(read(path(longest.constData())), "2");
    const QByteArray odd = path("\xff new\nline %41#?.pdf");
    EXPECT_FALSE(write(odd, "odd", Existing::Kept));
    EXPECT_EQ(::unlink(odd.constData()), 0);
}

TEST_F(AtomicFileTest, AFailedWriteLeavesTheOldFileAndNothingElse) {
    put(path("old.pdf"), "old");
    EXPECT_TRUE(holdsInChild([&] {
        const rlimit limit{1000, 1000};
        std::signal(SIGXFSZ, SIG_IGN);
        const QByteArray content(100'000, 'x');
        return ::setrlimit(RLIMIT_FSIZE, &limit) == 0 &&
               write(path("new.pdf"), content, Existing::Kept) == std::errc::file_too_large &&
               write(path("old.pdf"), content, Existing::Replaced) == std::errc::file_too_large &&
               withdrawSystemCalls(false) &&
               write(path("new.pdf"), content, Existing::Kept) == std::errc::file_too_large &&
               write(path("old.pdf"), content, Existing::Replaced) == std::errc::file_too_large;
    }));
    EXPECT_EQ(names(), QStringList{QStringLiteral("old.pdf")});
    EXPECT_EQ(read(path("old.pdf")), "old");
}

TEST_F(AtomicFileTest, FileSystemsWithoutNamelessFilesWorkToo) {
    for (const bool renames : {false, true}) {
        const QByteArray a = path(renames ? "a1" : "a0");
        EXPECT_TRUE(holdsInChild([&] {
            return withdrawSystemCalls(renames) && !write(a, "first", Existing::Kept) && read(a) == "first" &&
                   write(a, "second", Existing::Kept) == std::errc::file_exists && read(a) == "first";
        }));
        EXPECT_TRUE(holdsInChild([&] {
            AtomicFile file(path("late"), Existing::Kept);
            if (!withdrawSystemCalls(renames) || file.open())
                return false;
            put(path("late"), "another's");
            return file.commit("new") == std::errc::file_exists && read(path("late")) == "another's";
        }));
        EXPECT_TRUE(holdsInChild([&] {
            return withdrawSystemCalls(false) && !write(a, "third", Existing::Replaced) && read(a) == "third";
        }));
        ASSERT_TRUE(QFile::remove(QString::fromUtf8(path("late"))));
    }
    EXPECT_EQ(names(), (QStringList{QStringLiteral("a0"), QStringLiteral("a1")}));
}

TEST_F(AtomicFileTest, AKillAtAnyMomentLeavesOldOrNewAndWhatTheNextWriterTakesAway) {
    const QByteArray oldContent(200'000, 'o');
    const QByteArray newContent(300'000, 'n');
    for (int round = 0; round < 60; ++round) {
        put(path("a.pdf"), oldContent);
        std::array<int, 2> started{};
        ASSERT_EQ(::pipe(started.data()), 0);
        const pid_t child = ::fork();
        if (child == 0) {
            ::close(started[1]);
            char byte = 0;
            (void)!::read(started[0], &byte, 1);
            for (;;)
                write(path("a.pdf"), newContent, Existing::Replaced);
        }
        ::close(started[0]);
        ASSERT_EQ(::write(started[1], "x", 1), 1);
        ::close(started[1]);
        const timespec delay{0, round * 300'000L};
        ::nanosleep(&delay, nullptr);
        ASSERT_EQ(::kill(child, SIGKILL), 0);
        ASSERT_EQ(::waitpid(child, nullptr, 0), child);
        const QByteArray content = read(path("a.pdf"));
        ASSERT_TRUE(content == oldContent || content == newContent) << content.size();
        ASSERT_LE(names().size(), 2);
        ASSERT_FALSE(write(path("a.pdf"), newContent, Existing::Replaced));
        ASSERT_EQ(names(), QStringList{QStringLiteral("a.pdf")});
    }
}

TEST_F(AtomicFileTest, WritersOfOneFileAtOnceAllSucceed) {
    put(path("a.pdf"), "old");
    std::atomic<int> failures = 0;
    {
        std::vector<std::jthread> writers;
        for (char letter = 'a'; letter < 'e'; ++letter) {
            writers.emplace_back([&, letter] {
                for (int i = 0; i < 200; ++i)
                    failures += bool(write(path("a.pdf"), QByteArray(5'000, letter), Existing::Replaced));
            });
        }
    }
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(names(), QStringList{QStringLiteral("a.pdf")});
    const QByteArray content = read(path("a.pdf"));
    EXPECT_EQ(content, QByteArray(5'000, content.at(0)));
}

TEST_F(AtomicFileTest, AFileThatIsThereIsWrittenWithoutAnotherProcess) {
    put(path("a.pdf"), "old");
    static int forks = 0;
    ASSERT_EQ(::pthread_atfork([] { ++forks; }, nullptr, nullptr), 0);
    EXPECT_TRUE(holdsInChild([&] {
        // No call that makes a process works here: an ordinary user may have no more.
        const rlimit none{0, 0};
        forks = 0;
        return ::setrlimit(RLIMIT_NPROC, &none) == 0 && !write(path("a.pdf"), "new", Existing::Replaced) &&
               forks == 0;
    }));
    EXPECT_EQ(read(path("a.pdf")), "new");
}

} // namespace
