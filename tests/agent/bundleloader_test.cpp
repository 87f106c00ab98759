// How the agent's bundles are ended, whatever happens meanwhile.
#include "agent/bundleloader.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <new>

#include "support/capturedoutput.h"
#include "support/environment.h"
#include "support/files.h"
#include "support/temporarydirectory.h"

namespace {

using NS_REFERENCE_HOST::BundleLoader;
using namespace testing;

// Loads recorders, which note what is done to them.
class LoadedBundles : public NS_TEST::DirectoryTest {
  protected:
    static void Load(BundleLoader& loader, const std::string& name) {
        loader.Load({name, std::string(QV_TEST_BUNDLES) + "/libqv_test_" + name + ".so", {}});
    }

    // How often a recorder has noted this.
    int Noted(const std::string& event) const {
        const std::vector<std::string> events = NS_TEST::ReadLines(Path("events"));
        return static_cast<int>(std::count(events.begin(), events.end(), event));
    }

    const NS_TEST::ScopedVariable events_{"QV_TEST_EVENTS", Path("events")};
};

// A bundle bears its end once: the logging service waits for ever when it is stopped again.
TEST_F(LoadedBundles, StopsEachBundleOnceWhenWhatComesBeforeItsEndThrows) {
    NS_TEST::CapturedOutput errors(STDERR_FILENO);
    {
        BundleLoader loader;
        Load(loader, "first");
        Load(loader, "second");
        loader.StopServices();
        EXPECT_FALSE(loader.FinishAll([] { throw std::bad_alloc(); }));
        EXPECT_THAT(loader.Bundles(), IsEmpty());
    }
    for (const char* name : {"first ", "second "}) {
        for (const char* event : {"StopService", "fini", "gobbler", "destructor"}) {
            EXPECT_EQ(Noted(std::string(name) + event), 1) << name << event;
        }
    }
    EXPECT_THAT(errors.Text(), HasSubstr("what comes before the end of bundle first failed: "));
}

}  // namespace
