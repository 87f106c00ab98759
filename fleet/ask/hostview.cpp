#include "ask/hostview.h"

namespace NS_LOG_FLEET {
namespace {

// The newest record is looked for in the files that grew last: one of each category, and some.
constexpr const char* kHostsQuery =
    "SELECT h.host, (extract(epoch FROM h.seen) * 1000000)::bigint,"
    " (extract(epoch FROM l.time) * 1000000)::bigint,"
    " h.files, h.stored, h.backlog, h.gaps, h.lost, h.problem"
    " FROM qv.fleet h"
    " LEFT JOIN LATERAL (SELECT max(r.time) AS time"
    "  FROM (SELECT id FROM qv.file WHERE host = h.host AND stored > 0"
    "   ORDER BY changed DESC LIMIT 16) f"
    "  CROSS JOIN LATERAL (SELECT time FROM qv.record WHERE file = f.id AND level IS NOT NULL"
    "   AND kind <> 'dumped' ORDER BY byte_offset DESC LIMIT 1) r) l ON true"
    " ORDER BY h.host COLLATE \"C\"";

}  // namespace

std::vector<HostView> ViewHosts(Connection& connection) {
    const Rows rows = connection.Run(kHostsQuery);
    std::vector<HostView> hosts;
    for (int row = 0; row < rows.Count(); ++row) {
        HostView host;
        host.host = rows.Text(row, 0);
        host.seen = rows.Number(row, 1);
        if (!rows.IsNull(row, 2)) {
            host.lastRecord = rows.Number(row, 2);
        }
        host.files = rows.Number(row, 3);
        host.stored = rows.Number(row, 4);
        host.backlog = rows.Number(row, 5);
        host.gaps = rows.Number(row, 6);
        host.lost = rows.Number(row, 7);
        host.problem = rows.Text(row, 8);
        hosts.push_back(std::move(host));
    }
    return hosts;
}

}  // namespace NS_LOG_FLEET
