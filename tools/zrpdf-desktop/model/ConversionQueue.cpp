// SPDX-License-Identifier: MIT
#include "tools/zrpdf-desktop/model/ConversionQueue.h"

#include "ZRKit/Storage/NSFileManager+ZRKit.h"
#include "platform/files/AtomicFile.h"
#include "platform/files/NSPathUtilities.h"

#include <QSet>
#include <QUuid>

using namespace Qt::StringLiterals;
using State = Conversion::State;

namespace {

QString folderOrCache(const QString &folder) {
    const NSFileManager &files = NSFileManager::defaultManager();
    return folder.isNull() ? ZRKit::zrPrivateCacheFolder(files) : ZRKit::zrMakeDirs(files, folder);
}

} // namespace

const QString &ConversionQueue::serviceName() {
    static const QString name = u"com.velmora.zrpdf"_s;
    return name;
}

ConversionQueue::ConversionQueue(History &history, const QString &folder, const QString &service,
                                 std::chrono::milliseconds patience)
    : m_history(history), m_folder(folderOrCache(folder)), m_service(service, patience) {
    m_work.setMaxConcurrentOperationCount(1);
    connect(&m_history, &History::changed, this, &ConversionQueue::historyChanged);
}

ConversionQueue::~ConversionQueue() {
    disconnect(&m_history, nullptr, this, nullptr);
    m_ends = true;
    m_stop.request_stop();
    m_work.waitUntilAllOperationsAreFinished();
    if (!m_history.isOpen())
        return;
    m_history.update([this] {
        for (Conversion *conversion : m_history.all())
            if (conversion->isWaiting())
                conversion->setState(State::Cancelled);
    });
    m_history.save();
}

void ConversionQueue::begin() {
    if (m_history.isAlone() && !m_folder.isNull()) {
        QSet<QString> known;
        for (const Conversion *conversion : m_history.all())
            known.insert(conversion->output());
        m_work.addOperation(std::make_shared<ZROperation>([folder = m_folder, known](const auto &) {
            const NSFileManager &files = NSFileManager::defaultManager();
            for (const QVariantList names = ZRKit::zrListDir(files, folder).value_or(QVariantList());
                 const QVariant &name : names)
                if (name.toString().endsWith(u".pdf") && !known.contains(name.toString()))
                    ZRKit::zrRemoveFile(files, folder + u'/' + name.toString());
        }));
    }
    next();
}

void ConversionQueue::add(const QList<Source> &sources) {
    m_history.add(sources);
    next();
    Q_EMIT progressed();
}

void ConversionQueue::tryAgain(const QList<Conversion *> &conversions) {
    m_history.update([&] {
        for (Conversion *conversion : conversions)
            if (conversion->state() == State::Failed || conversion->state() == State::Cancelled) {
                conversion->setError({}, {});
                conversion->setState(State::Queued);
            }
    });
    next();
    Q_EMIT progressed();
}

void ConversionQueue::cancel(const QList<Conversion *> &conversions) {
    m_history.update([&] {
        for (Conversion *conversion : conversions)
            if (conversion->isWaiting())
                conversion->setState(State::Cancelled);
    });
    if (conversions.contains(m_current))
        m_stop.request_stop();
    Q_EMIT progressed();
}

void ConversionQueue::remove(const QList<Conversion *> &conversions) {
    cancel(conversions);
    m_history.remove(conversions);
}

/// What undoing or redoing has taken away needn't be finished.
void ConversionQueue::historyChanged() {
    if (m_current && (!m_current->managedObjectContext() || m_current->isDeleted()))
        m_stop.request_stop();
    next();
    Q_EMIT progressed();
}

QString ConversionQueue::pathOf(const Conversion &conversion) const {
    const QString name = conversion.output();
    return name.isEmpty() || m_folder.isNull() ? QString() : m_folder + u'/' + name;
}

int ConversionQueue::waiting() const {
    int count = 0;
    for (const Conversion *conversion : m_history.all())
        count += conversion->isWaiting();
    return count;
}

void ConversionQueue::next() {
    if (m_current || m_ends)
        return;
    if (Conversion *const conversion = m_history.firstQueued())
        start(conversion);
    else
        m_done = 0;
}

void ConversionQueue::start(Conversion *conversion) {
    m_current = conversion;
    m_stop = std::stop_source();
    m_history.update([&] { conversion->setState(State::Converting); });
    QVariantMap options;
    // No title isn't an empty one.
    if (!conversion->title().isEmpty())
        options.insert(u"pdfTitle"_s, conversion->title());
    if (!conversion->creator().isEmpty())
        options.insert(u"pdfCreator"_s, conversion->creator());
    m_work.addOperation(std::make_shared<ZROperation>(
        [this, source = conversion->source(), options, stop = m_stop.get_token()](const auto &) {
            const Result result = convert(source, options, stop);
            QMetaObject::invokeMethod(
                this, [this, result] { settle(result); }, Qt::QueuedConnection);
        }));
    Q_EMIT progressed();
}

/// On the worker's thread.
ConversionQueue::Result ConversionQueue::convert(const Source &source, const QVariantMap &options,
                                                 const std::stop_token &stop) {
    Result result;
    result.outcome.error = source.problem();
    if (!result.outcome.error.isEmpty() || stop.stop_requested())
        return result;
    QVariantMap task = options;
    task.insert(u"data"_s, source.taskData());
    result.outcome = m_service.convert(task, stop);
    if (result.outcome.pdf.isEmpty())
        return result;
    if (m_folder.isNull()) {
        result.outcome = {{}, u"The PDF can't be written"_s, {}};
        return result;
    }
    const QString name = QUuid::createUuid().toString(QUuid::WithoutBraces) + u".pdf"_s;
    zr::AtomicFile file(NSFileSystemRepresentation(m_folder + u'/' + name), zr::AtomicFile::Existing::Kept);
    std::error_code failure = file.open();
    if (!failure)
        failure = file.commit(result.outcome.pdf);
    if (failure)
        result.outcome = {{}, u"The PDF can't be written"_s, QString::fromStdString(failure.message())};
    else
        result.output = name;
    return result;
}

void ConversionQueue::settle(const Result &result) {
    Conversion *const conversion = std::exchange(m_current, nullptr);
    if (m_ends)
        return;
    // It may have been cancelled or removed meanwhile; its PDF is then removed at the next start.
    const bool isWanted = conversion->managedObjectContext() && !conversion->isDeleted() &&
                          conversion->state() == State::Converting;
    if (isWanted) {
        ++m_done;
        m_history.update([&] {
            if (result.output.isEmpty()) {
                conversion->setError(result.outcome.error, result.outcome.cause);
                conversion->setState(State::Failed);
            } else {
                conversion->setOutput(result.output, result.outcome.pdf.size());
                conversion->setState(State::Done);
            }
        });
    }
    next();
    Q_EMIT progressed();
    if (isWanted)
        Q_EMIT finished(conversion);
}
