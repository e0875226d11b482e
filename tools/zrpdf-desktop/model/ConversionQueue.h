// SPDX-License-Identifier: MIT
#pragma once

#include "ZRKit/Operations/ZROperationQueue.h"
#include "tools/zrpdf-desktop/model/History.h"
#include "tools/zrpdf-desktop/model/PDFService.h"

#include <QObject>
#include <chrono>
#include <stop_token>

/// Converts the history's waiting documents, one after the other, on a thread of its own. PDFs are kept in a folder until
/// their conversions are removed from the history and the program is started anew. Main thread.
class ConversionQueue : public QObject {
    Q_OBJECT

public:
    static const QString &serviceName();

    /// \param history  must outlive the queue, and be open before anything is added
    /// \param folder   where PDFs are kept, made if it is missing; the application's cache folder for nil
    explicit ConversionQueue(History &history, const QString &folder = {},
                             const QString &service = serviceName(),
                             std::chrono::milliseconds patience = std::chrono::seconds(60));
    /// Ends what runs; it and all that waits are cancelled.
    ~ConversionQueue() override;

    void add(const QList<Source> &sources);
    /// Starts what has waited since before the program was started, if anything does, and removes PDFs that nobody refers
    /// to. Once, after the history was opened.
    void begin();
    /// Queues conversions that failed or were cancelled again, others are left as they are.
    void tryAgain(const QList<Conversion *> &conversions);
    /// Takes those that wait out of the queue; one that runs is ended.
    void cancel(const QList<Conversion *> &conversions);
    /// Removes them from the history, which can be undone.
    void remove(const QList<Conversion *> &conversions);

    /// The path of its PDF; nil without one.
    QString pathOf(const Conversion &conversion) const;
    /// The one that is converted at this moment; nullptr if none is.
    const Conversion *current() const { return m_current; }
    /// How many wait, the current one included, and how many are done since the queue was last empty.
    int waiting() const;
    int done() const { return m_done; }

Q_SIGNALS:
    /// One has begun or ended, or others wait.
    void progressed();
    void finished(Conversion *conversion);

private:
    struct Result {
        PDFService::Outcome outcome;
        QString output;
    };

    void next();
    void start(Conversion *conversion);
    Result convert(const Source &source, const QVariantMap &options, const std::stop_token &stop);
    void settle(const Result &result);
    void historyChanged();

    History &m_history;
    const QString m_folder;
    PDFService m_service;
    Conversion *m_current = nullptr;
    std::stop_source m_stop;
    int m_done = 0;
    bool m_ends = false;
    ZROperationQueue m_work;
};
