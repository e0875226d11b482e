// SPDX-License-Identifier: MIT
#include "ZRKit/Operations/ZRDelayed.h"

#include "examples/kit/Example.h"
#include "platform/operations/NSRunLoop.h"

#include <QStringList>

using namespace Qt::StringLiterals;

namespace {

/// Runs the run loop until the condition holds, a minute at most.
template <typename Condition>
bool eventually(Condition condition) {
    for (int i = 0; i < 60'000 && !condition(); ++i)
        NSRunLoop::currentRunLoop().runUntilDate(0.001);
    return condition();
}

} // namespace

EXAMPLE(ZRDelayed) {
    QStringList searches;

    // performAfter: of a burst of requests only the last one runs
    auto delayed = std::make_shared<ZRDelayed>();
    for (const QString &typed : {u"o"_s, u"ob"_s, u"obs"_s})
        delayed->performAfter(0.02, [&searches, typed] { searches << typed; });
    expect(searches.isEmpty());
    expect(eventually([&] { return !searches.isEmpty(); }));
    expect(searches == QStringList{u"obs"_s});

    // cancel: what waits never runs
    delayed->performAfter(0.001, [&] { searches << u"never"_s; });
    delayed->cancel();
    NSRunLoop::currentRunLoop().runUntilDate(0.02);
    expect(searches.size() == 1);

    // executeBlock: what waits runs now instead of later
    delayed->performAfter(3600, [&] { searches << u"now"_s; });
    delayed->executeBlock();
    expect(searches.last() == u"now"_s);

    // What the running block asks for is cleared with it.
    delayed->performAfter(0, [&] {
        searches << u"outer"_s;
        delayed->performAfter(0, [&] { searches << u"inner"_s; });
    });
    expect(eventually([&] { return searches.last() == u"outer"_s; }));
    NSRunLoop::currentRunLoop().runUntilDate(0.02);
    expect(!searches.contains(u"inner"_s));
}
