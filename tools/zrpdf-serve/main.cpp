// SPDX-License-Identifier: MIT
#include "platform/base/NSException.h"
#include "platform/base/WriteAll.h"
#include "platform/xpc/XPCActivator.h"
#include "tools/converter/StandardStreams.h"
#include "tools/zrpdf-serve/HTTPDoor.h"
#include "tools/zrpdf-serve/MakeConverter.h"
#include "tools/zrpdf-serve/Server.h"
#include "tools/zrpdf-serve/StopSignal.h"

#include <algorithm>
#include <sys/resource.h>
#include <systemd/sd-daemon.h>
#include <unistd.h>

using namespace zr;
using namespace Qt::StringLiterals;

namespace {

enum ExitStatus { Stopped = 0, CannotListen = 1, BadUsage = 2 };

/// On each socket, those that wait for their documents included; beyond that, clients wait to be let in.
constexpr int spareConnections = 256;
constexpr int descriptorsOfAnInstance = 16;
constexpr qsizetype leastForAllBodies = qsizetype(256) << 20;

int complain(const QByteArray &problem, int status) {
    (void)writeAll(STDERR_FILENO, "zrpdf serve: " + problem + '\n');
    return status;
}

/// The sockets to serve; none, and one sentence about why, if there is one that can't be.
std::vector<ListeningSocket> openSockets(const ServeOptions &options, QByteArray *problem) {
    std::vector<ListeningSocket> sockets;
    const auto keep = [&](std::optional<ListeningSocket> socket) {
        if (!socket)
            return false;
        sockets.push_back(std::move(*socket));
        return true;
    };
    // Out of the environment, too: they are not for the services that this program starts.
    const int handedOver = ::sd_listen_fds(/*unset_environment=*/1);
    if (handedOver > 0 && !options.addresses.empty()) {
        *problem = "sockets were handed over, and option --listen names others";
        return {};
    }
    for (int index = 0; index < handedOver; ++index)
        if (!keep(ListeningSocket::adopt(SD_LISTEN_FDS_START + index, problem)))
            return {};
    std::vector<ListenAddress> addresses = options.addresses;
    if (sockets.empty() && addresses.empty()) {
        const auto usual = ListenAddress::inRuntimeFolder(problem);
        if (!usual)
            return {};
        addresses.push_back(*usual);
    }
    for (const ListenAddress &address : addresses)
        if (!keep(ListeningSocket::open(address, problem))) {
            sockets.clear();
            return sockets;
        }
    const bool isRemote = std::any_of(sockets.begin(), sockets.end(),
                                      [](const ListeningSocket &socket) { return !socket.isLocal(); });
    if (isRemote && !options.allowsRemote) {
        *problem =
            "a socket that was handed over is reached by other machines; --allow-remote and a token allow it";
        sockets.clear();
    }
    return sockets;
}

/// How many connections each of the sockets may have, so that those who only hold on leave descriptors for the work.
int connectionsFor(const ServeOptions &options, std::size_t sockets) {
    const int wanted = spareConnections + options.instances + options.queue;
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return wanted;
    limit.rlim_cur = std::min<rlim_t>(limit.rlim_max, 65536);
    ::setrlimit(RLIMIT_NOFILE, &limit);
    const int ownDescriptors = 32 + descriptorsOfAnInstance * options.instances;
    return std::clamp((int(limit.rlim_cur) - ownDescriptors) / int(sockets), 1, wanted);
}

/// Serves until it is told to stop, and finishes what has begun.
int serve(const ServeOptions &options, std::optional<BearerToken> token, std::vector<ListeningSocket> sockets,
          RequestLog &log) {
    std::unique_ptr<Converter> converter;
    try {
        converter = makeConverter(options);
    } catch (const NSException &exception) {
        log.write(exception.reason());
        return BadUsage;
    }
    Server server(options, std::move(token), *converter, log);
    HTTPDoor door(server, {.body = options.maxBody,
                           .allBodies = std::max(leastForAllBodies, 4 * options.maxBody),
                           .connections = connectionsFor(options, sockets.size())});
    if (::geteuid() == 0)
        log.write(u"remark: the browser runs without its sandbox, which root cannot have"_s);
    for (ListeningSocket &socket : sockets) {
        const QString name = QString::fromLocal8Bit(socket.name());
        if (!door.open(std::move(socket))) {
            log.write(u"the HTTP library can't serve this"_s, {{"address", name}});
            return CannotListen;
        }
        log.write(u"listening"_s, {{"address", name}});
    }
    ::sd_notify(0, "READY=1");

    while (!StopSignal::wait(std::chrono::hours(1)))
        continue;
    ::sd_notify(0, "STOPPING=1");
    server.beginStop();
    door.beginStop();
    log.write(u"stopping"_s);
    const auto limit = std::chrono::steady_clock::now() + options.grace;
    while (!door.waitUntilIdle(std::chrono::milliseconds(50)))
        if (std::chrono::steady_clock::now() >= limit || StopSignal::wait(std::chrono::milliseconds(0))) {
            log.write(u"giving up what has not finished"_s);
            door.abandonAll();
            if (!door.waitUntilIdle(std::chrono::seconds(5))) {
                log.write(u"stopped with requests that nobody answers"_s);
                XPCActivator::shared().stop();
                ::_exit(Stopped);
            }
            break;
        }
    door.stop();
    log.write(u"stopped"_s);
    return Stopped;
}

} // namespace

int main(int count, char **values) {
    fillStandardStreams();
    const QList<QByteArray> arguments(values + std::min(count, 1), values + count);
    QByteArray problem;
    const ServeOptions options = ServeOptions::parse(arguments, &problem);
    if (!problem.isEmpty())
        return complain(problem + " (see zrpdf serve --help)", BadUsage);
    if (options.action != ServeOptions::Action::Serve)
        return printText(options.action == ServeOptions::Action::Help ? ServeOptions::help()
                                                                      : "zrpdf-serve " ZR_VERSION "\n",
                         "zrpdf serve", CannotListen);

    const QByteArray tokenFile =
        options.tokenFile.isNull() ? BearerToken::credentialFile() : options.tokenFile;
    std::optional<BearerToken> token;
    if (!tokenFile.isNull()) {
        token = BearerToken::fromFile(tokenFile, &problem);
        if (!token)
            return complain(problem, BadUsage);
    }
    if (options.allowsRemote && !token)
        return complain("option --allow-remote needs a token: --token-file", BadUsage);

    StopSignal::install();
    std::vector<ListeningSocket> sockets = openSockets(options, &problem);
    if (sockets.empty())
        return complain(problem, CannotListen);
    RequestLog log(takeStandardError(options.verbose), options.logForm);
    const int status = serve(options, std::move(token), std::move(sockets), log);
    XPCActivator::shared().stop();
    return status;
}
