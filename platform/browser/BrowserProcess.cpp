// SPDX-License-Identifier: MIT
#include "platform/browser/BrowserProcess.h"

#include "platform/base/ChildProcess.h"
#include "platform/base/LibexecFile.h"
#include "platform/base/SystemError.h"
#include "platform/values/NSLog.h"

#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

using namespace zr;

namespace {

/// Large replies pass in few reads with a pipe this large; it is what an ordinary user may ask for.
constexpr int pipeCapacity = 1 << 20;

/// Milliseconds that a keeper gets to end its browser, or to answer; it needs some ten at most.
constexpr int keeperPatience = 3000;

bool isProgram(const QString &path) {
    QFile file(path);
    // Distributions put shell scripts around browsers that don't exec: killing those would end nothing.
    return QFileInfo(path).isExecutable() && file.open(QIODevice::ReadOnly) && file.read(4) == "\177ELF";
}

struct Ends {
    FileDescriptor first, second;
    explicit operator bool() const { return first && second; }
};

Ends makePipe() {
    int fds[2] = {-1, -1};
    if (::pipe2(fds, O_CLOEXEC) != 0)
        return {};
    ::fcntl(fds[0], F_SETPIPE_SZ, pipeCapacity);
    return {FileDescriptor(fds[0]), FileDescriptor(fds[1])};
}

Ends makeLifeline() {
    int fds[2] = {-1, -1};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, fds) != 0)
        return {};
    return {FileDescriptor(fds[0]), FileDescriptor(fds[1])};
}

/// What the browser's environment has besides ours.
std::vector<QByteArray> browserEnvironment(const QString &temporaryFolder) {
    // Even a download that is refused begins with a temporary file. On systems without a place for shared memory, that
    // is made among them, too.
    if (!temporaryFolder.isNull())
        return {"TMPDIR=" + QFile::encodeName(temporaryFolder)};
    if (::access("/dev/shm", W_OK | X_OK) == 0)
        return {"TMPDIR=/dev/null"};
    return {};
}

} // namespace

QString BrowserProcess::executable() {
    static const QString found = [] {
        QStringList candidates = {
            QStringLiteral("/usr/lib/chromium/chromium-headless-shell"),
            QStringLiteral("/usr/lib/chromium-browser/headless_shell"),
            QStringLiteral("/usr/lib64/chromium-browser/headless_shell"),
            QStringLiteral("/usr/lib/chromium/headless_shell"),
        };
        const QStringList folders = QString::fromLocal8Bit(qgetenv("PATH")).split(u':', Qt::SkipEmptyParts);
        for (const char *name : {"chromium-headless-shell", "chrome-headless-shell", "headless_shell"}) {
            for (const QString &folder : folders)
                candidates << folder + u'/' + QString::fromLatin1(name);
        }
        const auto program = std::find_if(candidates.cbegin(), candidates.cend(), isProgram);
        return program == candidates.cend() ? QString() : *program;
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
        // Hinted letters are as wide as whole pixels, which spaces them unevenly at all other resolutions.
        QStringLiteral("--font-render-hinting=none"),
        // Nobody looks at the pages: frames are drawn on demand only, and nothing draws them.
        QStringLiteral("--enable-begin-frame-control"),
        QStringLiteral("--disable-gpu"),
        QStringLiteral("--disable-software-rasterizer"),
        // A page without scripts needs no process a site, and its frames can print together.
        QStringLiteral("--disable-site-isolation-trials"),
        // Blank pages come back faster without a new frame host for each document, and none is gone back to.
        // Stylesheets of XSLT are programs that do not run without scripts: documents that name one would be
        // empty, or load for ever. What is in a local network would come or not, according to what the page had shown
        // before, and to where it says that it comes from: nobody is here to be asked, and what a document may reach is
        // decided elsewhere.
        QStringLiteral("--disable-features=RenderDocument,BackForwardCache,ProactivelySwapBrowsingInstance,"
                       "IsolateOrigins,site-per-process,XSLT,LocalNetworkAccessChecks"),
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

QStringList BrowserProcess::argumentsWithoutNetwork() {
    return arguments() << QStringLiteral("--host-resolver-rules=MAP * ~NOTFOUND")
                       // And if something is connected to all the same, it is a proxy that can't be found.
                       << QStringLiteral("--proxy-server=http://none.invalid:9")
                       << QStringLiteral("--proxy-bypass-list=<-loopback>");
}

std::unique_ptr<BrowserProcess> BrowserProcess::start(const QStringList &arguments,
                                                      const QString &temporaryFolder) {
    const QString browser = executable();
    const QByteArray keeper = libexecFile("zrkit-keeper", X_OK);
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
    std::vector<QByteArray> command = {QFile::encodeName(QFileInfo(browser).absoluteFilePath())};
    for (const QString &argument : arguments)
        command.push_back(argument.toLocal8Bit());

    Ends commands = makePipe();
    Ends replies = makePipe();
    Ends lifeline = makeLifeline();
    ChildProcess child;
    if (commands && replies && lifeline)
        child = ChildProcess::start(
            {keeper,
             command,
             browserEnvironment(temporaryFolder),
             {-1, -1, -1, commands.first.get(), replies.second.get(), lifeline.second.get()}});
    else
        child.failure = errno;
    if (child.failure) {
        NSLog("Cannot start the browser: %@", QString::fromStdString(systemError(child.failure).message()));
        if (child.pid > 0)
            ::waitpid(child.pid, nullptr, 0);
        return nullptr;
    }
    std::unique_ptr<BrowserProcess> process(new BrowserProcess);
    process->m_keeper = std::move(child);
    process->m_commands = std::move(commands.second);
    process->m_replies = std::move(replies.first);
    process->m_lifeline = std::move(lifeline.first);
    return process;
}

pid_t BrowserProcess::browserPid() {
    if (m_browser < 0 &&
        ::recv(m_lifeline.get(), &m_browser, sizeof m_browser, MSG_WAITALL) != sizeof m_browser)
        m_browser = -1;
    return m_browser;
}

bool BrowserProcess::isKept() {
    char answer = 0;
    // A late answer to an earlier question says nothing.
    while (browserPid() > 0 && ::recv(m_lifeline.get(), &answer, 1, MSG_DONTWAIT) == 1) {
    }
    if (m_browser < 0 || ::send(m_lifeline.get(), "?", 1, MSG_NOSIGNAL) != 1)
        return false;
    pollfd answered = {m_lifeline.get(), POLLIN, 0};
    return ::poll(&answered, 1, keeperPatience) == 0 || ::recv(m_lifeline.get(), &answer, 1, 0) == 1;
}

BrowserProcess::~BrowserProcess() {
    if (m_browser < 0 &&
        ::recv(m_lifeline.get(), &m_browser, sizeof m_browser, MSG_DONTWAIT) != sizeof m_browser)
        m_browser = -1;
    m_commands.reset();
    m_replies.reset();
    m_lifeline.reset();
    pollfd ended = {m_keeper.process.get(), POLLIN, 0};
    // A stopped keeper would never end by itself.
    if (::poll(&ended, 1, keeperPatience) == 0)
        ::kill(m_keeper.pid, SIGKILL);
    int status = 0;
    while (::waitpid(m_keeper.pid, &status, 0) < 0 && errno == EINTR) {
    }
    // A keeper that was killed could not see to the end of what its browser left.
    if (WIFSIGNALED(status) && m_browser > 0)
        ::kill(-m_browser, SIGKILL);
}
