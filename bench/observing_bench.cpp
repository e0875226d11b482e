// SPDX-License-Identifier: MIT
// Delayed calls beside restarts of a plain QTimer, and change notifications beside a plain signal to a
// lambda.
#include "ZRKit/Operations/ZRDelayed.h"
#include "ZRKit/Operations/ZRObserver.h"

#include <QCoreApplication>
#include <QTimer>
#include <array>
#include <benchmark/benchmark.h>

namespace {

constexpr int restarts = 100000;
constexpr int delay = 60; // seconds: it never comes

/// Timers need one; the benchmark library has the main function.
void needApplication() {
    static int count = 1;
    static char name[] = "observing_bench";
    static char *arguments[] = {name, nullptr};
    static const QCoreApplication application(count, arguments);
}

void qTimerRestarts(benchmark::State &state) {
    needApplication();
    QTimer timer;
    timer.setSingleShot(true);
    for (auto _ : state)
        for (int i = 0; i < restarts; ++i)
            timer.start(delay * 1000);
    state.SetItemsProcessed(state.iterations() * restarts);
}

void delayedCalls(benchmark::State &state) {
    needApplication();
    const auto delayed = std::make_shared<ZRDelayed>();
    int ran = 0;
    for (auto _ : state)
        for (int i = 0; i < restarts; ++i)
            delayed->performAfter(delay, [&ran] { ++ran; });
    delayed->cancel();
    if (ran > 0)
        state.SkipWithError("a block ran before its time");
    state.SetItemsProcessed(state.iterations() * restarts);
}

class Counter : public QObject {
    Q_OBJECT
    Q_PROPERTY(int value READ value WRITE setValue NOTIFY valueChanged)
    Q_PROPERTY(int bracketed READ bracketed WRITE setBracketed)
    Q_PROPERTY(QString text READ text WRITE setText NOTIFY textChanged)

public:
    int value() const { return m_value; }
    void setValue(int value) {
        m_value = value;
        Q_EMIT valueChanged(value);
    }
    Q_SIGNAL void valueChanged(int value);

    int bracketed() const { return m_bracketed; }
    void setBracketed(int value) {
        static const QString key = QStringLiteral("bracketed");
        NSKeyValueObserving::willChangeValueForKey(this, key);
        m_bracketed = value;
        NSKeyValueObserving::didChangeValueForKey(this, key);
    }

    QString text() const { return m_text; }
    void setText(const QString &text) {
        m_text = text;
        Q_EMIT textChanged(text);
    }
    Q_SIGNAL void textChanged(const QString &text);

private:
    int m_value = 0;
    int m_bracketed = 0;
    QString m_text;
};

void check(benchmark::State &state, qint64 told) {
    if (told != qint64(state.iterations()))
        state.SkipWithError("not told of every change");
    state.SetItemsProcessed(state.iterations());
}

void signalToLambda(benchmark::State &state) {
    Counter counter;
    qint64 told = 0;
    QObject::connect(&counter, &Counter::valueChanged, &counter, [&](int) { ++told; });
    int value = 0;
    for (auto _ : state)
        counter.setValue(++value);
    check(state, told);
}

void observerOfSignal(benchmark::State &state) {
    Counter counter;
    qint64 told = 0;
    ZRObserver observer;
    observer.observe(&counter, QStringLiteral("value"),
                     [&](const QString &, QObject *, const QVariantMap &, void *) { ++told; });
    int value = 0;
    for (auto _ : state)
        counter.setValue(++value);
    check(state, told);
}

void observerOfBrackets(benchmark::State &state) {
    Counter counter;
    qint64 told = 0;
    ZRObserver observer;
    observer.observe(&counter, QStringLiteral("bracketed"),
                     [&](const QString &, QObject *, const QVariantMap &, void *) { ++told; });
    int value = 0;
    for (auto _ : state)
        counter.setBracketed(++value);
    check(state, told);
}

const std::array<QString, 2> texts{QStringLiteral("one text"), QStringLiteral("another")};

void textSignalToLambda(benchmark::State &state) {
    Counter counter;
    qint64 told = 0;
    QObject::connect(&counter, &Counter::textChanged, &counter, [&](const QString &) { ++told; });
    for (auto _ : state)
        counter.setText(texts[size_t(told % 2)]);
    check(state, told);
}

void observerOfTextSignal(benchmark::State &state) {
    Counter counter;
    qint64 told = 0;
    ZRObserver observer;
    observer.observe(&counter, QStringLiteral("text"),
                     [&](const QString &, QObject *, const QVariantMap &, void *) { ++told; });
    for (auto _ : state)
        counter.setText(texts[size_t(told % 2)]);
    check(state, told);
}

} // namespace

BENCHMARK(qTimerRestarts)->Unit(benchmark::kMillisecond);
BENCHMARK(delayedCalls)->Unit(benchmark::kMillisecond);
BENCHMARK(signalToLambda);
BENCHMARK(observerOfSignal);
BENCHMARK(observerOfBrackets);
BENCHMARK(textSignalToLambda);
BENCHMARK(observerOfTextSignal);

#include "observing_bench.moc"
