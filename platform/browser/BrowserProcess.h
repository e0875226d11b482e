// SPDX-License-Identifier: MIT
#pragma once

#include "platform/base/ChildProcess.h"

#include <QString>
#include <QStringList>
#include <memory>
#include <sys/types.h>

namespace zr {

/// A running headless browser, driven over its DevTools pipe; it opens no port and writes nothing to disk.
///
/// The browser is started by a small program of ours, the keeper, that outlives neither it nor us: whichever of service,
/// keeper and browser is killed, with whatever signal, no process of the browser is left. All members may be called
/// before there is a QCoreApplication; one thread at a time.
class BrowserProcess {
public:
    /// Starts a browser and returns at once, without waiting for it to be ready.
    /// \param arguments        what it is started with
    /// \param temporaryFolder  where it may make temporary files, which it needs for little more than snapshots of
    ///                         pages; a browser that is killed leaves them behind. Null: it makes none.
    /// \return null if no browser or no keeper is installed, after one line in the log
    static std::unique_ptr<BrowserProcess> start(const QStringList &arguments = BrowserProcess::arguments(),
                                                 const QString &temporaryFolder = {});

    /// The program that is started: the real executable, not a script around it. Null if there is none.
    static QString executable();
    /// The arguments that it is started with.
    static QStringList arguments();
    /// The same for a browser that reaches no network, not even this machine by its number: its pages show what they are
    /// given and what requests are answered with over the pipe.
    static QStringList argumentsWithoutNetwork();

    /// Ends the browser and all of its processes, and waits until they are gone.
    ~BrowserProcess();
    BrowserProcess(const BrowserProcess &) = delete;
    BrowserProcess &operator=(const BrowserProcess &) = delete;

    /// Our end of the pipe that commands are written to, and of the one that replies are read from. The process object
    /// owns both.
    int commandFd() const { return m_commands.get(); }
    int replyFd() const { return m_replies.get(); }

    pid_t keeperPid() const { return m_keeper.pid; }
    /// The browser's own process id; waits for the keeper to have started it. -1 if it could not.
    pid_t browserPid();

    /// Whether the keeper lives: asks it, and waits for the answer. A stopped one counts as alive after a while. Its
    /// death ends the browser only a moment later, so a browser that still answers may be as good as dead.
    bool isKept();

private:
    BrowserProcess() = default;

    FileDescriptor m_commands;
    FileDescriptor m_replies;
    FileDescriptor m_lifeline;
    ChildProcess m_keeper;
    pid_t m_browser = -1;
};

} // namespace zr
