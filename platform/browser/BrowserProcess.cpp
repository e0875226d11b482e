// SPDX-License-Identifier: MIT
#include "platform/browser/BrowserProcess.h"

#include "platform/values/NSLog.h"

#include <QFile>
#include <QFileInfo>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

extern char **environ;

namespace {

/// Large replies pass in few reads with a pipe this large; it is what an ordinary user may ask for.
constexpr int pipeCapacity = 1 << 20;

/// Milliseconds that a keeper gets to end its browser; it needs some ten.
constexpr int keeperPatience = 3000;

/// The descriptors that the keeper expects, in its own numbering.
enum KeeperFd { CommandFd = 3, ReplyFd = 4, LifelineFd = 5 };

bool isProgram(const QString &path) {
    QFile file(path);
    // Distributions put shell scripts around browsers that don't exec: killing those would end nothing.
    return QFileInfo(path).isExecutable() && file.open(QIODevice::ReadOnly) && file.read(4) == "\177ELF";
}

QString keeperProgram() {
    const QString self = QFileInfo(QFile::symLinkTarget(QStringLiteral("/proc/self/exe"))).path();
    for (const QString &folder :
         {self, self + QStringLiteral("/../libexec/zrkit"), QStringLiteral(ZR_LIBEXEC_DIR)}) {
        QString path = folder + QStringLiteral("/zrkit-keeper");
        if (QFileInfo(path).isExecutable())
            return path;
    }
    return {};
}

/// A descriptor that closes itself, moved out of the way of those that the keeper expects.
class OwnedFd {
public:
    OwnedFd() = default;
    explicit OwnedFd(int fd) : m_fd(fd) {
        if (m_fd >= 0 && m_fd <= LifelineFd) {
            m_fd = ::fcntl(fd, F_DUPFD_CLOEXEC, LifelineFd + 1);
            ::close(fd);
        }
    }
    OwnedFd(OwnedFd &&other) noexcept : m_fd(other.release()) {}
    OwnedFd &operator=(OwnedFd &&other) noexcept {
        std::swap(m_fd, other.m_fd);
        return *this;
    }
    ~OwnedFd() {
        if (m_fd >= 0)
            ::close(m_fd);
    }
    int get() const { return m_fd; }
    int release() { return std::exchange(m_fd, -1); }

private:
    int m_fd = -1;
};

struct Ends {
    OwnedFd first, second;
    bool isValid() const { return first.get() >= 0 && second.get() >= 0; }
};

Ends makePipe() {
    int fds[2] = {-1, -1};
    if (::pipe2(fds, O_CLOEXEC) != 0)
        return {};
    ::fcntl(fds[0], F_SETPIPE_SZ, pipeCapacity);
    return {OwnedFd(fds[0]), OwnedFd(fds[1])};
}

Ends makeLifeline() {
    int fds[2] = {-1, -1};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, fds) != 0)
        return {};
    return {OwnedFd(fds[0]), OwnedFd(fds[1])};
}

/// What the service's activation is told by must not reach the browser.
std::vector<char *> browserEnvironment(BrowserProcess::TemporaryFiles files) {
    // Even a download that is refused begins with a temporary file. Where the system has no place for shared
    // memory, that is made among them, too.
    static char nowhere[] = "TMPDIR=/dev/null";
    const bool refused =
        files == BrowserProcess::TemporaryFiles::Refused && ::access("/dev/shm", W_OK | X_OK) == 0;
    std::vector<char *> kept;
    for (char **entry = environ; *entry; ++entry) {
        if (std::strncmp(*entry, "LISTEN_", 7) != 0 && std::strncmp(*entry, "NOTIFY_SOCKET=", 14) != 0 &&
            !(refused && std::strncmp(*entry, "TMPDIR=", 7) == 0))
            kept.push_back(*entry);
    }
    if (refused)
        kept.push_back(nowhere);
    kept.push_back(nullptr);
    return kept;
}

pid_t spawn(const std::vector<QByteArray> &command, std::vector<char *> environment, const Ends &commands,
            const Ends &replies, const Ends &life) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    for (const int standard : {0, 1, 2})
        posix_spawn_file_actions_addopen(&actions, standard, "/dev/null", O_RDWR, 0);
    posix_spawn_file_actions_adddup2(&actions, commands.first.get(), CommandFd);
    posix_spawn_file_actions_adddup2(&actions, replies.second.get(), ReplyFd);
    posix_spawn_file_actions_adddup2(&actions, life.second.get(), LifelineFd);

    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t all, none;
    sigfillset(&all);
    sigemptyset(&none);
    posix_spawnattr_setsigdefault(&attributes, &all);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);

    std::vector<char *> arguments;
    arguments.reserve(command.size() + 1);
    for (const QByteArray &argument : command)
        arguments.push_back(const_cast<char *>(argument.constData()));
    arguments.push_back(nullptr);

    pid_t pid = -1;
    const int failure =
        ::posix_spawn(&pid, arguments[0], &actions, &attributes, arguments.data(), environment.data());
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    errno = failure;
    return failure ? -1 : pid;
}

} // namespace

QString BrowserProcess::executable() {
    static const QString found = [] {
        static constexpr std::array paths = {
            "/usr/lib/chromium/chromium-headless-shell",
            "/usr/lib/chromium-browser/headless_shell",
            "/usr/lib64/chromium-browser/headless_shell",
            "/usr/lib/chromium/headless_shell",
        };
        static constexpr std::array names = {"chromium-headless-shell", "chrome-headless-shell",
                                             "headless_shell"};
        for (const char *path : paths) {
            if (isProgram(QString::fromLatin1(path)))
                return QString::fromLatin1(path);
        }
        const QStringList folders = QString::fromLocal8Bit(qgetenv("PATH")).split(u':', Qt::SkipEmptyParts);
        for (const char *name : names) {
            for (const QString &folder : folders) {
                QString path = folder + u'/' + QString::fromLatin1(name);
                if (isProgram(path))
                    return path;
            }
        }
        return QString();
    }();
    return found;
}

QStringList BrowserProcess::arguments() {
    QStringList list = {
        QStringLiteral("--remote-debugging-pipe"),
        // Everything is kept in memory: no profile folder is made or read.
        QStringLiteral("--incognito"),
        QStringLiteral("--window-size=800,1131"),
        QStringLiteral("--force-device-scale-factor=1"),
        QStringLiteral("--hide-scrollbars"),
        // The documents' settings, for all pages: no scripts whatever a page asks for; all pictures and
        // frames load, also those further down.
        QStringLiteral("--blink-settings=scriptEnabled=false,javaScriptCanOpenWindowsAutomatically=false,"
                       "pluginsEnabled=false,dnsPrefetchingEnabled=false,lazyLoadEnabled=false,"
                       "defaultFontSize=16,defaultFixedFontSize=14"),
        // Nobody looks at the pages: frames are drawn on demand only, and nothing draws them.
        QStringLiteral("--enable-begin-frame-control"),
        QStringLiteral("--disable-gpu"),
        QStringLiteral("--disable-software-rasterizer"),
        // A page without scripts needs no process a site, and its frames can print together.
        QStringLiteral("--disable-site-isolation-trials"),
        // Blank pages come back faster without a new frame host for each document, and none is gone back to.
        // Stylesheets of XSLT are programs that do not run without scripts: documents that name one would be
        // empty, or load for ever.
        QStringLiteral("--disable-features=RenderDocument,BackForwardCache,ProactivelySwapBrowsingInstance,"
                       "IsolateOrigins,site-per-process,XSLT"),
        // One process less to start and to keep.
        QStringLiteral("--enable-features=NetworkServiceInProcess2"),
        QStringLiteral("--no-first-run"),
        QStringLiteral("--no-pings"),
        QStringLiteral("--disable-background-networking"),
        QStringLiteral("--disable-component-update"),
        QStringLiteral("--disable-default-apps"),
        QStringLiteral("--disable-domain-reliability"),
        QStringLiteral("--disable-extensions"),
        QStringLiteral("--disable-sync"),
        QStringLiteral("--disable-breakpad"),
        QStringLiteral("--disable-crash-reporter"),
        QStringLiteral("--disable-notifications"),
        QStringLiteral("--deny-permission-prompts"),
        QStringLiteral("--mute-audio"),
    };
    // Its sandbox refuses to run under root.
    if (::geteuid() == 0)
        list << QStringLiteral("--no-sandbox");
    return list;
}

std::unique_ptr<BrowserProcess> BrowserProcess::start(TemporaryFiles files, const QStringList &arguments) {
    const QString browser = executable();
    const QString keeper = keeperProgram();
    if (browser.isNull() || keeper.isNull()) {
        NSLog("Cannot start the browser: %@ is not installed",
              browser.isNull() ? QStringLiteral("chromium-headless-shell") : QStringLiteral("zrkit-keeper"));
        return nullptr;
    }
    if (::geteuid() == 0) {
        static const bool said =
            (NSLog(QStringLiteral("The browser runs without its sandbox, which root cannot have")), true);
        Q_UNUSED(said);
    }
    // A browser that has gone is told by the write's result.
    struct sigaction pipeAction = {};
    if (::sigaction(SIGPIPE, nullptr, &pipeAction) == 0 && pipeAction.sa_handler == SIG_DFL)
        ::signal(SIGPIPE, SIG_IGN);
    std::vector<QByteArray> command = {QFile::encodeName(keeper), QFile::encodeName(browser)};
    for (const QString &argument : arguments)
        command.push_back(argument.toLocal8Bit());

    Ends commands = makePipe();
    Ends replies = makePipe();
    Ends lifeline = makeLifeline();
    const bool ready = commands.isValid() && replies.isValid() && lifeline.isValid();
    const pid_t pid = ready ? spawn(command, browserEnvironment(files), commands, replies, lifeline) : -1;
    if (pid < 0) {
        NSLog("Cannot start the browser: %@", QString::fromLocal8Bit(std::strerror(errno)));
        return nullptr;
    }
    std::unique_ptr<BrowserProcess> process(new BrowserProcess);
    process->m_keeper = pid;
    process->m_commandFd = commands.second.release();
    process->m_replyFd = replies.first.release();
    process->m_lifelineFd = lifeline.first.release();
    return process;
}

pid_t BrowserProcess::browserPid() {
    if (m_browser < 0 && ::recv(m_lifelineFd, &m_browser, sizeof m_browser, MSG_WAITALL) != sizeof m_browser)
        m_browser = -1;
    return m_browser;
}

BrowserProcess::~BrowserProcess() {
    if (m_browser < 0 && ::recv(m_lifelineFd, &m_browser, sizeof m_browser, MSG_DONTWAIT) != sizeof m_browser)
        m_browser = -1;
    ::close(m_commandFd);
    ::close(m_replyFd);
    ::close(m_lifelineFd);
    const OwnedFd keeper(int(::syscall(SYS_pidfd_open, m_keeper, 0)));
    pollfd ended = {keeper.get(), POLLIN, 0};
    // A stopped keeper would never end by itself.
    if (keeper.get() < 0 || ::poll(&ended, 1, keeperPatience) == 0)
        ::kill(m_keeper, SIGKILL);
    int status = 0;
    while (::waitpid(m_keeper, &status, 0) < 0 && errno == EINTR) {
    }
    // A keeper that was killed could not see to the end of what its browser left.
    if (WIFSIGNALED(status) && m_browser > 0)
        ::kill(-m_browser, SIGKILL);
}
