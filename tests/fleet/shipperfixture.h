// A shipper that sends the files of a directory to a target that keeps what it is given.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "fleet/keepingtarget.h"
#include "ship/shipper.h"
#include "support/files.h"
#include "support/temporarydirectory.h"

namespace NS_TEST {

class ShipperTest : public DirectoryTest {
  protected:
    // The number of no process.
    std::string LogPath(const std::string& category = "debug") const {
        return Path("unbi_" + category + "_20260305_140709_999999999.log");
    }

    static std::string Text() {
        return "File create at 2026-03-05T14:07:09.000001+01:00.\n"
               "2026-03-05T14:07:10.000001+01:00,one\n"
               "2026-03-05T14:07:11.000001+01:00,two\n"
               "\nFile close at 2026-03-05T14:07:12.000001+01:00.\n";
    }

    // The same size, and another first line.
    static std::string OtherText() {
        std::string text = Text();
        text[text.find(".000001") + 6] = '2';
        return text;
    }

    // More than is taken at once.
    static std::string LargeText(size_t records) {
        const std::string record =
            "2026-03-05T14:07:10.000001+01:00," + std::string(1000, 'x') + "\n";
        std::string more;
        for (size_t i = 0; i < records; ++i) {
            more += record;
        }
        std::string text = Text();
        return text.insert(text.find('\n') + 1, more);
    }

    ShipSettings Settings(std::vector<std::string> paths) const {
        ShipSettings settings;
        settings.host = "host1";
        settings.paths = std::move(paths);
        settings.once = true;
        return settings;
    }

    Shipper MakeShipper(const ShipSettings& settings) {
        return Shipper(settings, [this] { return std::make_unique<KeepingTarget>(kept_); });
    }

    bool Ship(std::vector<std::string> paths) {
        return MakeShipper(Settings(std::move(paths))).Run();
    }
    bool Ship() { return Ship({Path()}); }

    Kept kept_;
};

}  // namespace NS_TEST
