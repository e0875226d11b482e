// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringList>
#include <memory>
#include <sys/types.h>

/// A running headless browser, driven over its DevTools pipe; no port is opened and nothing is written to
/// disk.
///
/// The browser is started by a small program of ours, the keeper, that outlives neither it nor us: whoever of
/// service, keeper and browser is killed, with whatever signal, no process of the browser is left. All
/// members may be called before there is a QCoreApplication; one thread at a time.
class BrowserProcess {
public:
    /// Whether the browser may make temporary files, which it needs for little more than snapshots of pages.
    /// One that is killed leaves them behind.
    enum class TemporaryFiles { Refused, Allowed };

    /// Starts a browser and returns at once, without waiting for it to be ready.
    /// \param arguments  what it is started with
    /// \return null where no browser or no keeper is installed, after one line in the log
    static std::unique_ptr<BrowserProcess> start(TemporaryFiles files = TemporaryFiles::Refused,
                                                 const QStringList &arguments = BrowserProcess::arguments());

    /// The program that is started: the real executable, not a script around it. Null where there is none.
    static QString executable();
    /// The arguments that it is started with.
    static QStringList arguments();

    /// Ends the browser and all of its processes, and waits until they are gone.
    ~BrowserProcess();
    BrowserProcess(const BrowserProcess &) = delete;
    BrowserProcess &operator=(const BrowserProcess &) = delete;

    /// Our end of the pipe that commands are written to, and of the one that replies are read from. The
    /// process object owns both.
    int commandFd() const { return m_commandFd; }
    int replyFd() const { return m_replyFd; }

    pid_t keeperPid() const { return m_keeper; }
    /// The browser's own process id; waits for the keeper to have started it. -1 when it could not.
    pid_t browserPid();

private:
    BrowserProcess() = default;

    int m_commandFd = -1;
    int m_replyFd = -1;
    int m_lifelineFd = -1;
    pid_t m_keeper = -1;
    pid_t m_browser = -1;
};
