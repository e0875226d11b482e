// SPDX-License-Identifier: MIT
#include "bench/soak/Soak.h"

#include "bench/soak/CommandLine.h"
#include "bench/soak/Corpus.h"
#include "bench/soak/Harm.h"
#include "bench/soak/Ledger.h"
#include "bench/soak/PDFMarks.h"
#include "bench/soak/SoakServer.h"
#include "platform/xpc/XPCActivator.h"
#include "tests/support/ProcessTree.h"
#include "tools/converter/ServicePool.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>
#include <QThreadPool>
#include <QTimer>
#include <atomic>
#include <cstdio>
#include <filesystem>
#include <map>

using namespace zr;
using namespace Qt::StringLiterals;

namespace {

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

int descriptors() {
    return int(std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}));
}

/// Feeds a pool with documents, and judges what comes back.
class Feeder {
public:
    struct Shared {
        const Corpus &corpus;
        Ledger &ledger;
        const Harm *harm; ///< what is done to this pool's services, if anything is
        std::atomic<int> &nextNumber;
        const std::function<bool()> wantsMore;
    };

    Feeder(Converter &pool, Shared &shared, int atOnce) : m_pool(pool), m_shared(shared), m_atOnce(atOnce) {}

    void start() {
        for (int i = 0; i < m_atOnce; ++i)
            feed();
    }
    int converted() const { return m_converted; }
    bool isIdle() const {
        const std::lock_guard lock(m_mutex);
        return m_underWay.empty();
    }
    /// How long the oldest document has been under way; waiting counts.
    double oldest() const {
        const std::lock_guard lock(m_mutex);
        double oldest = 0;
        for (const auto &[number, start] : m_underWay)
            oldest = std::max(oldest, secondsSince(start));
        return oldest;
    }

private:
    void feed() {
        if (!m_shared.wantsMore())
            return;
        const int number = m_shared.nextNumber++;
        const Document document = m_shared.corpus.document(number, m_shared.harm == nullptr);
        const auto start = Clock::now();
        std::stop_source giveUp;
        Converter::Task task{
            .object = document.task, .timeout = document.timeout, .abandoned = giveUp.get_token()};
        {
            const std::lock_guard lock(m_mutex);
            m_underWay.emplace(number, start);
        }
        m_pool.convert(std::move(task), [this, document, start](const Converter::Answer &answer) {
            // The pool's thread has other things to do. The next one comes after the judgement, which is slower at times.
            m_judges.start([this, document, start, answer, end = Clock::now()] {
                judge(document, start, end, answer);
                feed();
                const std::lock_guard lock(m_mutex);
                m_underWay.erase(document.number);
            });
        });
        if (document.kind == Document::Kind::Abandoned)
            QMetaObject::invokeMethod(qApp, [giveUp, number] {
                QTimer::singleShot(std::chrono::milliseconds(number % 200), qApp,
                                   [giveUp]() mutable { giveUp.request_stop(); });
            });
    }

    void judge(const Document &document, Clock::time_point start, Clock::time_point end,
               const Converter::Answer &answer) {
        using Expected = Document::Expected;
        using Outcome = Converter::Outcome;
        ++m_converted;
        if (!document.file.isNull())
            QFile::remove(document.file);
        Ledger &ledger = m_shared.ledger;
        const double seconds = std::chrono::duration<double>(end - start).count();
        ledger.add(document.kind, answer.outcome, seconds);
        const QString name = u"%1: "_s.arg(document.number);
        if (answer.outcome == Outcome::Done) {
            const auto marks = PDFMarks::of(answer.pdf());
            const QList<int> own{document.number};
            if (!marks || marks->pages != 1 || marks->title != own ||
                (document.hasText && marks->text != own))
                ledger.addWrong(document.kind, name + (marks ? marks->summary() : u"no PDF"_s));
        }
        const bool isExpected =
            document.expected == Expected::Anything ||
            (document.expected == Expected::Late ? answer.outcome == Outcome::Late
                                                 : answer.outcome == Outcome::Done) ||
            (document.expected == Expected::DoneOrFailed && answer.outcome == Outcome::Failed) ||
            (document.expected == Expected::DoneOrAbandoned && answer.outcome == Outcome::Abandoned);
        if (isExpected)
            return;
        // No harm is known to end a load that would never end otherwise.
        const bool mayBeHarmed = answer.outcome == Outcome::Lost || answer.outcome == Outcome::Failed;
        if (mayBeHarmed && m_shared.harm && m_shared.harm->excuses(start, end))
            return ledger.addExcused(document.kind);
        QString what = name + u"outcome %1 after %2 s: "_s.arg(int(answer.outcome)).arg(seconds, 0, 'f', 1) +
                       answer.text();
        if (m_shared.harm)
            what += u" ("_s + m_shared.harm->last(end) + u')';
        ledger.addUnexplained(document.kind, what);
    }

    Converter &m_pool;
    Shared &m_shared;
    const int m_atOnce;
    std::atomic<int> m_converted = 0;
    mutable std::mutex m_mutex;
    std::map<int, Clock::time_point> m_underWay;
    QThreadPool m_judges;
};

/// Whether a converter gives a PDF of a word.
bool works(Converter &pool) {
    std::promise<bool> isDone;
    pool.convert({.object = {{u"data"_s, u"<p>works"_s}}, .timeout = std::chrono::seconds(30)},
                 [&](const Converter::Answer &answer) {
                     isDone.set_value(answer.outcome == Converter::Outcome::Done);
                 });
    return isDone.get_future().get();
}

constexpr double warmUp = 0.1;
/// What is kept after the largest documents so far makes steps that look like growth in fewer conversions.
constexpr int fewestWeighed = 2000;

QString slopeText(const Line &line, int conversions) {
    const Line::Slope slope = line.slope(warmUp);
    const QString mean = u"%1 MB in the mean, "_s.arg(line.mean(), 0, 'f', 1);
    return conversions < fewestWeighed
               ? mean + u"too few conversions to tell"_s
               : mean + u"%1 ± %2 MB for each 10,000 conversions"_s.arg(slope.value * 10'000, 0, 'f', 2)
                            .arg(slope.error * 10'000, 0, 'f', 2);
}

/// Whether what was measured over so many conversions can't be growth by more than so many megabytes, as far as that can be
/// told.
bool isFlat(const Line &line, int conversions, double megabytes) {
    const Line::Slope slope = line.slope(warmUp);
    return conversions < fewestWeighed || (slope.value - 3 * slope.error) * conversions < megabytes;
}

} // namespace

int showDocument(const SoakOptions &options) {
    const Corpus corpus(options.seed, QStringLiteral(ZR_SOURCE_DIR), u"http://127.0.0.1:1/"_s);
    const QVariant data = corpus.document(options.shown, options.isCalm).task.value(u"data"_s);
    const QByteArray bytes =
        data.typeId() == QMetaType::QByteArray ? data.toByteArray() : data.toString().toUtf8();
    return std::fwrite(bytes.constData(), 1, std::size_t(bytes.size()), stdout) == std::size_t(bytes.size())
               ? 0
               : 1;
}

int soak(const SoakOptions &options) {
    const auto start = Clock::now();
    const auto print = [](const QString &text) {
        std::fputs(text.toUtf8().constData(), stdout);
        std::fflush(stdout);
    };
    const QString service = ServicePool::defaultService();
    const QString calmService = service + u"@calm"_s;
    const QTemporaryDir folder;
    SoakServer server;
    const Corpus corpus(options.seed, QStringLiteral(ZR_SOURCE_DIR), server.address());
    Ledger ledger;

    ServicePool calmPool({.instances = 1, .tries = 1, .service = calmService});
    if (!works(calmPool)) {
        print(u"the service doesn't work\n"_s);
        return 1;
    }
    const pid_t calm = XPCActivator::shared().processIdentifier(calmService);
    // From here on, services are lied to about the time; the one above isn't.
    const QString clockFile = folder.filePath(u"clock"_s);
    QFile noOffset(clockFile);
    if (noOffset.open(QIODevice::WriteOnly))
        noOffset.write(QByteArray(sizeof(std::int64_t), 0));
    noOffset.close();
    qputenv("ZR_SOAK_CLOCK", QFile::encodeName(clockFile));
    qputenv("LD_PRELOAD", ZR_SOAK_CLOCK);
    ServicePool roughPool({.instances = options.instances, .tries = 3, .service = service});
    if (!works(roughPool)) {
        print(u"the service doesn't work with another clock\n"_s);
        return 1;
    }
    QStringList names{service};
    for (int i = 2; i <= options.instances; ++i)
        names << service + u'@' + QString::number(i);
    const int descriptorsBefore = descriptors();

    std::atomic<int> nextNumber = 1;
    std::atomic<bool> isOver = false;
    const auto wantsMore = [&] {
        return !isOver && (options.conversions == 0 || nextNumber <= options.conversions) &&
               (options.time.count() == 0 || Clock::now() - start < options.time);
    };
    Harm harm(options.seed, names, options.harmEvery, clockFile);
    auto commandLine = std::make_unique<CommandLine>(options.seed, QStringLiteral(ZR_SOURCE_DIR),
                                                     QStringLiteral(ZR_BINARY_DIR "/bin/zrpdf"));
    Feeder::Shared calmShared{corpus, ledger, nullptr, nextNumber, wantsMore};
    Feeder::Shared roughShared{corpus, ledger, &harm, nextNumber, wantsMore};
    Feeder calmFeeder(calmPool, calmShared, 2);
    Feeder roughFeeder(roughPool, roughShared, options.instances + 2);
    calmFeeder.start();
    roughFeeder.start();

    // The one that isn't harmed is weighed.
    Line serviceMemory, browserMemory;
    bool hangs = false;
    QTimer clock;
    QObject::connect(&clock, &QTimer::timeout, &clock, [&] {
        constexpr double megabyte = 1 << 20;
        serviceMemory.add(calmFeeder.converted(), double(ProcessTree::memory(calm)) / megabyte);
        // What a renderer has is the document's that is in work.
        std::vector<ProcessTree::Process> browser = ProcessTree::below(calm);
        std::erase_if(browser, [](const ProcessTree::Process &process) {
            return process.command.find("--type=renderer") != std::string::npos;
        });
        browserMemory.add(calmFeeder.converted(), double(ProcessTree::memory(browser)) / megabyte);
        if (options.isShown)
            std::fprintf(options.messages, "\r\x1b[K%d converted, %d harms, %d wrong, %d unexplained, %.0f s",
                         ledger.converted(), harm.count(), ledger.wrong(), ledger.unexplained(),
                         secondsSince(start));
        // Documents wait for four before them at most, which take at most a minute, three times over.
        constexpr double patience = 300;
        hangs = std::max(calmFeeder.oldest(), roughFeeder.oldest()) > patience;
        if (hangs || (!wantsMore() && calmFeeder.isIdle() && roughFeeder.isIdle()))
            QCoreApplication::quit();
    });
    clock.start(std::chrono::seconds(1));
    QCoreApplication::exec();
    isOver = true;
    const double seconds = secondsSince(start);
    if (options.isShown)
        std::fputs("\r\x1b[K", options.messages);

    harm.stop();
    const int rounds = commandLine->rounds();
    const QStringList roundComplaints = commandLine->complaints();
    commandLine.reset();
    const int calmDeaths = int(calmPool.state().ended);
    const int descriptorsAfter = descriptors();

    print(
        u"%1 conversions in %2 s, %3 a second; seed %4; services did %5 restarts under these harms: %6.\n\n"_s
            .arg(ledger.converted())
            .arg(seconds, 0, 'f', 0)
            .arg(ledger.converted() / seconds, 0, 'f', 1)
            .arg(options.seed)
            .arg(roughPool.state().ended)
            .arg(harm.summary()));
    print(ledger.table());
    print(u"\n| promise | measured |\n|---|---|\n"_s);
    const auto row = [&](const QString &promise, const QString &measured) {
        print(u"| "_s + promise + u" | "_s + measured + u" |\n"_s);
    };
    row(u"nobody gets another's document, or half of one"_s, u"%1 wrong"_s.arg(ledger.wrong()));
    row(u"nothing fails for no reason"_s, u"%1 unexplained"_s.arg(ledger.unexplained()));
    row(u"nothing hangs"_s, hangs ? u"a document waits for ever"_s : u"every document answered"_s);
    row(u"what nobody harms lives"_s,
        u"%1 deaths in %2 conversions"_s.arg(calmDeaths).arg(calmFeeder.converted()));
    row(u"a service's memory is flat"_s, slopeText(serviceMemory, calmFeeder.converted()));
    row(u"a browser's memory is flat"_s, slopeText(browserMemory, calmFeeder.converted()));
    row(u"zrpdf on full disks, interrupted and killed"_s,
        u"%1 complaints in %2 rounds"_s.arg(roundComplaints.size()).arg(rounds));
    row(u"a host's descriptors"_s, u"%1 before, %2 after"_s.arg(descriptorsBefore).arg(descriptorsAfter));
    for (const QString &complaint : ledger.complaints() + roundComplaints)
        std::fprintf(options.messages, "%s\n", complaint.toUtf8().constData());
    constexpr double mostOfService = 10, mostOfBrowser = 50;
    const bool isSound = isFlat(serviceMemory, calmFeeder.converted(), mostOfService) &&
                         isFlat(browserMemory, calmFeeder.converted(), mostOfBrowser) && !hangs &&
                         ledger.wrong() == 0 && ledger.unexplained() == 0 && calmDeaths == 0 &&
                         roundComplaints.isEmpty() && descriptorsAfter <= descriptorsBefore + 8;
    return isSound ? 0 : 1;
}
