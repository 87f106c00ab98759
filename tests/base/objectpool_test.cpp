// Objects that calls borrow from a pool, and the places of the threads in it.
#include "base/objectpool.h"

#include <gtest/gtest.h>

#include <set>
#include <thread>
#include <vector>

namespace NS_LOG_SERVICE1 {
namespace {

// Counts the objects that there are.
struct Pooled {
    Pooled() { ++count; }
    ~Pooled() { --count; }
    Pooled(const Pooled&) = delete;
    Pooled& operator=(const Pooled&) = delete;

    static int count;
};
int Pooled::count = 0;

using Pool = ObjectPool<Pooled>;

Pooled* Borrow(Pool& pool) {
    const Borrowed<Pooled> borrowed(pool);
    return &*borrowed;
}

TEST(ObjectPool, LendsAThreadItsObjectAgain) {
    Pool pool;
    Pooled* const first = Borrow(pool);
    EXPECT_EQ(Borrow(pool), first);
    EXPECT_EQ(Pooled::count, 1);
}

TEST(ObjectPool, LendsACallWithinACallAnotherObjectAndKeepsOne) {
    Pool pool;
    {
        const Borrowed<Pooled> outer(pool);
        const Borrowed<Pooled> inner(pool);
        EXPECT_NE(&*outer, &*inner);
        EXPECT_EQ(Pooled::count, 2);
    }
    EXPECT_EQ(Pooled::count, 1);
}

TEST(ObjectPool, FreesItsSpareObjects) {
    {
        Pool pool;
        Borrow(pool);
        pool.Clear();
        EXPECT_EQ(Pooled::count, 0);
        Borrow(pool);
        EXPECT_EQ(Pooled::count, 1);
    }
    EXPECT_EQ(Pooled::count, 0);
}

TEST(ObjectPool, HasAPlaceOfItsOwnForEachOfSixtyFourThreads) {
    Pool pool;
    std::vector<Pool::Place*> places;
    for (int i = 0; i < 65; ++i) {
        std::thread([&] {
            places.push_back(&pool.PlaceOfThread());
            EXPECT_EQ(&pool.PlaceOfThread(), places.back());
        }).join();
    }
    EXPECT_EQ(std::set<Pool::Place*>(places.begin(), places.end() - 1).size(), 64u);
    EXPECT_EQ(places.back(), places.front());
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
