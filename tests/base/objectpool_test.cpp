// Objects that calls borrow from a pool, and the places of the threads in it.
#include "base/objectpool.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace NS_LOG_SERVICE1 {
namespace {

// Owns memory once it was used.
struct Pooled {
    std::vector<int> used;
    std::string text;
};

using Pool = ObjectPool<Pooled>;

// Returns the object that a call of this thread gets, and whether it was used before.
std::pair<Pooled*, bool> Use(Pool& pool) {
    const Borrowed<Pooled> borrowed(pool);
    const bool wasUsed = !borrowed->used.empty();
    borrowed->used.push_back(1);
    return {&*borrowed, wasUsed};
}

TEST(ObjectPool, LendsAThreadItsObjectAgain) {
    Pool pool;
    Pooled* const first = Use(pool).first;
    EXPECT_EQ(Use(pool), std::make_pair(first, true));
}

TEST(ObjectPool, LendsACallWithinACallAnotherObjectAndKeepsOne) {
    Pool pool;
    Pooled* kept = nullptr;
    {
        const Borrowed<Pooled> outer(pool);
        kept = &*outer;
        const Borrowed<Pooled> inner(pool);
        EXPECT_NE(&*outer, &*inner);
        EXPECT_NE(Use(pool).first, &*outer);
    }
    EXPECT_EQ(Use(pool).first, kept);
}

TEST(ObjectPool, FreesWhatItsObjectsOwn) {
    Pool pool;
    Use(pool);
    Borrowed<Pooled>(pool)->text.assign(1000, 'a');
    pool.Clear();
    EXPECT_EQ(Borrowed<Pooled>(pool)->text.capacity(), std::string().capacity());
    EXPECT_FALSE(Use(pool).second);
}

TEST(ObjectPool, LeavesAnObjectAloneThatIsLent) {
    Pool pool;
    const Borrowed<Pooled> lent(pool);
    lent->used.push_back(1);
    pool.Clear();
    EXPECT_EQ(lent->used.size(), 1u);
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
