// SPDX-License-Identifier: MIT
#include "tools/zrpdf/Reporter.h"

#include "platform/base/WriteAll.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <cmath>
#include <cstdlib>
#include <unistd.h>

namespace {

bool wantsColours() {
    const char *const no = std::getenv("NO_COLOR");
    return !no || !*no;
}

QJsonValue text(const QByteArray &bytes) {
    return bytes.isEmpty() ? QJsonValue() : QJsonValue(QString::fromUtf8(bytes));
}

} // namespace

Reporter::Reporter(const Options &options, int standardError, qsizetype total)
    : m_options(options), m_standardError(standardError), m_total(total) {
    if (total > 1 && !options.quiet && !options.verbose && Progress::isPossible(standardError))
        m_progress.emplace(standardError, total, wantsColours());
    tick();
}

void Reporter::line(const QByteArray &text) {
    if (m_progress)
        m_progress->clear();
    zr::writeAll(m_standardError, "zrpdf: " + text + '\n');
}

void Reporter::remark(const QByteArray &text) {
    if (m_options.quiet || m_options.verbose || m_remarks.contains(text))
        return;
    m_remarks.insert(text);
    line(text);
}

void Reporter::succeeded(const Input &input, const QByteArray &output, qint64 bytes, double seconds) {
    writeObject(input, output, {}, bytes, seconds);
    const QByteArray shownOutput = Input::shown(output);
    if (m_options.verbose)
        line(input.shown() + " -> " + shownOutput + ", " + QByteArray::number(bytes) + " bytes, " +
             QByteArray::number(seconds, 'f', 3) + " s");
    else if (m_total == 1 && m_options.output.isNull() && !m_options.quiet && !m_options.json &&
             ::isatty(m_standardError))
        line("wrote " + shownOutput);
    finished(input);
}

void Reporter::failed(const Input &input, const QByteArray &message, double seconds) {
    ++m_failed;
    writeObject(input, {}, message, 0, seconds);
    line(input.shown() + ": " + message);
    finished(input);
}

void Reporter::finished(const Input &input) {
    ++m_done;
    m_last = input.shown();
    tick();
}

void Reporter::tick() {
    if (m_progress)
        m_progress->draw(m_done, m_failed, m_last);
}

void Reporter::finish() {
    if (!m_progress)
        return;
    m_progress->clear();
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - m_started;
    QByteArray text =
        QByteArray::number(m_done - m_failed) + " of " + QByteArray::number(m_total) + " converted";
    text += ", " + QByteArray::number(elapsed.count(), 'f', 1) + " s";
    m_progress.reset();
    line(text);
}

void Reporter::writeObject(const Input &input, const QByteArray &output, const QByteArray &error,
                           qint64 bytes, double seconds) {
    if (!m_options.json)
        return;
    const QJsonObject object{
        {QStringLiteral("input"), text(input.argument())},
        {QStringLiteral("output"), text(output)},
        {QStringLiteral("ok"), error.isEmpty()},
        {QStringLiteral("error"), text(error)},
        {QStringLiteral("bytes"), error.isEmpty() ? QJsonValue(bytes) : QJsonValue()},
        {QStringLiteral("seconds"), std::round(seconds * 1000) / 1000},
    };
    if (const auto failure =
            zr::writeAll(STDOUT_FILENO, QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n'))
        m_outputProblem = "standard output: " + QByteArray(failure.message().c_str());
}
