// The library as it is delivered: what it exports, and its objects as a client with nothing but
// slot numbers sees them.
#include <ace/Service_Object.h>
#include <dlfcn.h>
#include <gmock/gmock.h>

#include <cstdio>
#include <memory>

#include "abi/slots.h"
#include "bundlemgr/ifbuf.h"
#include "bundlemgr/serviceobjectbase.h"
#include "support/environment.h"
#include "support/files.h"
#include "support/temporarydirectory.h"

using namespace NS_TEST;

namespace {

TEST(Library, ExportsItsFactoryAndNothingElse) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> pipe(
        popen("nm -D --defined-only '" QV_LIBRARY "' | cut -d' ' -f2-", "r"), pclose);
    std::string symbols;
    for (int c = std::fgetc(pipe.get()); c != EOF; c = std::fgetc(pipe.get())) {
        symbols += static_cast<char>(c);
    }
    EXPECT_EQ(symbols, "T _make_qv_base_log\n");
}

class LoadedLibrary : public NS_TEST::DirectoryTest {
  protected:
    LoadedLibrary()
        : share_("_APP_SHARE_DIR", Path()), library_(dlopen(QV_LIBRARY, RTLD_NOW | RTLD_LOCAL)) {
        WriteFile(Path("conf/corba_agent.cfg"), "logswitch = 1,1,1,1\n");
    }

    ScopedVariable share_;
    void* library_;
};

TEST_F(LoadedLibrary, HasEverySymbolThatItNeedsAndServesAClientThatKnowsSlotNumbersOnly) {
    ASSERT_NE(library_, nullptr) << dlerror();
    void* const symbol = dlsym(library_, "_make_qv_base_log");
    ASSERT_NE(symbol, nullptr);
    ACE_Service_Object* (*factory)(void (**)(void*));
    std::memcpy(&factory, &symbol, sizeof(factory));
    void (*gobbler)(void*) = nullptr;
    ACE_Service_Object* const object = factory(&gobbler);
    ASSERT_NE(gobbler, nullptr);
    EXPECT_EQ(object->init(0, nullptr), 0);

    const auto found = NS_BUNDLEMGR1::CheckIFBuf("LogSvcInterface");
    ASSERT_EQ(found.size(), 1u);
    using Text = const std::string&;
    const std::string name = "a";
    const std::string category = "debug";
    const std::string text = "hello";
    EXPECT_EQ(CallSlot<std::string>(2, found.front()), "LogSvcInterface!");
    void* const logger = CallSlot<void*, Text, Text, Text>(6, found.front(), name, name, category);
    ASSERT_NE(logger, nullptr);
    CallSlot<void, Text, Text, unsigned, int, Text>(6, logger, name, name, 7, 1, text);
    const auto files = ListFiles(Path("log"));
    ASSERT_EQ(files.size(), 1u);
    EXPECT_THAT(ReadFile(Path("log/" + files.front())),
                testing::EndsWith(", DL:1, File: a Func:a Line:7\n Detail: hello\n</1>\n\n"));

    EXPECT_EQ(dynamic_cast<NS_BUNDLEMGR1::ServiceObjectBase*>(object)->StopService(), 0);
    EXPECT_EQ(object->fini(), 0);
    gobbler(object);
    EXPECT_TRUE(NS_BUNDLEMGR1::CheckIFBuf("LogSvcInterface").empty());
}

}  // namespace
