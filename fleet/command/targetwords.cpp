#include "command/targetwords.h"

#include <unistd.h>

#include <climits>
#include <memory>

#include "query/badrequest.h"
#include "ship/storetarget.h"
#include "store/storeaddress.h"
#include "stream/streamtarget.h"

namespace NS_LOG_FLEET {
namespace {

using NS_LOG_READER::BadRequest;

std::string HostName() {
    char name[HOST_NAME_MAX + 1] = {};
    return ::gethostname(name, HOST_NAME_MAX) == 0 ? name : "";
}

// Of an address that may hold a password, what surely is none: the scheme and the host.
std::string SchemeAndHost(const std::string& url) {
    constexpr const char* plain =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789.-_+";
    const size_t scheme = url.find("://");
    const std::string rest = scheme == std::string::npos ? url : url.substr(scheme + 3);
    const size_t user = rest.rfind('@');
    const std::string hosts = user == std::string::npos ? rest : rest.substr(user + 1);
    const size_t end = hosts.find_first_not_of(plain);
    if (scheme == std::string::npos) {
        // A colon or an @ may stand in front of a password.
        return end == std::string::npos && user == std::string::npos ? url : "";
    }
    // Behind a question mark, a password may stand as well.
    const bool isHost = user == std::string::npos || rest.find('?') > user;
    return url.substr(0, scheme + 3) + (isHost ? hosts.substr(0, end) : "");
}

bool BeginsWith(const std::string& text, const char* beginning) {
    return text.rfind(beginning, 0) == 0;
}

}  // namespace

void AddStreamOptions(CLI::App& app, StreamAddress& address, uint32_t& shards) {
    app.add_option("--ca", address.authorities, "Certificates to trust; the servers must have one")
        ->type_name("FILE");
    app.add_option("--cert", address.certificate, "The certificate to show to the servers")
        ->type_name("FILE");
    app.add_option("--key", address.key, "Its key")->type_name("FILE");
    app.add_option("--shards", shards, "Into how many streams the hosts are divided (default: 1)")
        ->type_name("N");
}

CLI::Option* AddTargetOptions(CLI::App& app, const char* names, TargetWords& words) {
    words.host = HostName();
    CLI::Option* const target =
        app.add_option(names, words.url, "postgresql://... (the store) or nats://... (a stream)")
            ->type_name("URL");
    app.add_option("--host", words.host, "What this machine is called (default: its name)")
        ->type_name("NAME");
    AddStreamOptions(app, words.stream, words.shards);
    return target;
}

void DemandStoreAddress(const std::string& url) {
    const std::string mistake = MistakeInAddress(url);
    if (!mistake.empty()) {
        throw BadRequest("--to: " + mistake);
    }
}

Shipper::MakeTarget ChooseTarget(const TargetWords& words) {
    if (words.host.empty()) {
        throw BadRequest("this machine has no name: give --host");
    }
    const std::string url = words.url;
    if (BeginsWith(url, "postgresql://") || BeginsWith(url, "postgres://")) {
        DemandStoreAddress(url);
        return [url] { return std::make_unique<StoreTarget>(url); };
    }
    if (BeginsWith(url, "nats://") || BeginsWith(url, "tls://")) {
        StreamAddress stream = words.stream;
        stream.servers = url;
        stream.inbox = "_INBOX." + SubjectWord(words.host);
        const auto arrivals = std::make_shared<Arrivals>();
        return [stream, arrivals, host = words.host, shards = words.shards] {
            return StreamTarget::Make(stream, host, shards, arrivals);
        };
    }
    throw BadRequest("--to takes postgresql://... or nats://..., not '" + SchemeAndHost(url) + "'");
}

}  // namespace NS_LOG_FLEET
