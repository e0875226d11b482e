// SPDX-License-Identifier: MIT
#include "platform/values/NSCache.h"

#include <atomic>
#include <gtest/gtest.h>
#include <memory>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

using Cache = NSCache<int, QString>;

/// Asks its cache for something while it is destroyed.
struct Reentrant {
    NSCache<int, std::shared_ptr<Reentrant>> *cache;
    ~Reentrant() { cache->objectForKey(0); }
};

} // namespace

TEST(NSCache, GivesWhatWasStored) {
    Cache cache(u"name"_s);
    EXPECT_EQ(cache.name(), u"name"_s);
    EXPECT_EQ(cache.objectForKey(1), std::nullopt);
    cache.setObject(u"one"_s, 1);
    cache.setObject(u"two"_s, 2);
    EXPECT_EQ(cache.objectForKey(1), u"one"_s);
    EXPECT_EQ(cache.objectForKey(2), u"two"_s);
    cache.setObject(u"uno"_s, 1);
    EXPECT_EQ(cache.objectForKey(1), u"uno"_s);
}

TEST(NSCache, ForgetsWhatIsRemoved) {
    Cache cache;
    for (int i = 0; i < 3; ++i)
        cache.setObject(u"x"_s, i);
    cache.removeObjectForKey(1);
    cache.removeObjectForKey(7);
    EXPECT_TRUE(cache.objectForKey(0));
    EXPECT_FALSE(cache.objectForKey(1));
    cache.removeAllObjects();
    EXPECT_FALSE(cache.objectForKey(0));
    EXPECT_FALSE(cache.objectForKey(2));
    cache.setObject(u"y"_s, 0);
    EXPECT_EQ(cache.objectForKey(0), u"y"_s);
}

TEST(NSCache, BeyondTheCountLimitDropsWhatWasNotAskedForLongest) {
    Cache cache(u""_s, 3);
    EXPECT_EQ(cache.countLimit(), 3);
    for (int i = 0; i < 3; ++i)
        cache.setObject(u"x"_s, i);
    EXPECT_TRUE(cache.objectForKey(0));
    cache.setObject(u"x"_s, 3);
    EXPECT_TRUE(cache.objectForKey(0));
    EXPECT_FALSE(cache.objectForKey(1));
    EXPECT_TRUE(cache.objectForKey(2));
    EXPECT_TRUE(cache.objectForKey(3));
    // Storing again under the same key needs no room.
    cache.setObject(u"y"_s, 0);
    EXPECT_TRUE(cache.objectForKey(2));
    Cache unlimited;
    for (int i = 0; i < 1000; ++i)
        unlimited.setObject(u"x"_s, i);
    for (int i = 0; i < 1000; ++i)
        EXPECT_TRUE(unlimited.objectForKey(i));
}

TEST(NSCache, DestroysValuesOutsideItsLock) {
    NSCache<int, std::shared_ptr<Reentrant>> cache(u""_s, 1);
    const auto store = [&](int key) { cache.setObject(std::make_shared<Reentrant>(&cache), key); };
    store(1);
    store(1);
    store(2);
    cache.removeObjectForKey(2);
    store(3);
    cache.removeAllObjects();
    store(4);
    store(5);
    EXPECT_TRUE(cache.objectForKey(5));
    cache.removeAllObjects();
}

TEST(NSCache, ManyThreadsMayUseIt) {
    NSCache<int, int> cache(u""_s, 50);
    std::atomic<int> wrong = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&, t] {
            for (int i = 0; i < 5000; ++i) {
                const int key = (i * 7 + t) % 100;
                cache.setObject(key * 3, key);
                if (const auto found = cache.objectForKey((key * 31) % 100))
                    wrong += *found != (key * 31) % 100 * 3;
                if (i % 1000 == 0)
                    cache.removeAllObjects();
                cache.removeObjectForKey(i % 100);
            }
        });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
    cache.setObject(1, 1);
    EXPECT_EQ(cache.objectForKey(1), 1);
}
