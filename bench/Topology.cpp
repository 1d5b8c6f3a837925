#include "bench/Topology.h"

#include <fmt/format.h>

std::string BenchTopology(unsigned targets, unsigned luns) {
    std::string text = fmt::format(R"({{"adapters": [{{
        "identifier": "{}", "display_name": "Bench", "mac": "00:1b:21:00:00:01", "library_name": "bench-0",
        "port": {{"node_wwn": "20:00:00:1b:21:00:00:01", "port_wwn": "20:01:00:1b:21:00:00:01", "state": 6, "fc_id": 65792}},
        "ports": [{{"node_wwn": "20:00:00:1b:21:00:00:01", "port_wwn": "20:01:00:1b:21:00:00:01", "type": 0,
                   "identifiers": ["20:01:00:1b:21:00:00:01", "10:00:00:05:1e:00:00:01", "10:00:00:05:1e:00:00:02"],
                   "word_56": 1, "number": 1}}],
        "vlans": [{{"id": 1002, "state": 1}}],
        "targets": [)",
                                   BENCH_ADAPTER);
    unsigned number = 0;
    for (unsigned t = 0; t < targets; ++t) {
        text += fmt::format(
            R"({}{{"bus": 0, "target": {}, "node_wwn": "50:06:01:60:00:{:02x}:{:02x}:00", "port_wwn": "50:06:01:61:00:{:02x}:{:02x}:00",
               "initiator_wwn": "20:01:00:1b:21:00:00:01", "initiator_type": 0, "fc_id": {}, "number": {},
               "vendor": "STORAGE", "serial": "SN{:010}", "luns": [)",
            t ? "," : "", t, t >> 8, t & 255, t >> 8, t & 255, 0x020000 + t, t, t);
        for (unsigned l = 0; l < luns; ++l)
            text += fmt::format(
                R"({}{{"os_lun": {}, "fcp_lun": {}, "os_device_name": "\\\\.\\PHYSICALDRIVE{}", "blocks": 2097152, "block_length": 512}})",
                l ? "," : "", l, l, ++number);
        text += "]}";
    }
    return text + "]}]}";
}
