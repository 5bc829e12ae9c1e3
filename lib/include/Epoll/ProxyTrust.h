// Public header: which peers may speak for their clients.
#pragma once

#include "Common/IpAddress.h"

// The proxies whose word about a client's address is taken, and how they give it.
struct ProxyTrust {
    // What a trusted peer's stream begins with; the values are those of key proxy_protocol.
    enum class Header {
        None,      // with the client's own bytes
        Required,  // with a PROXY protocol header, version 2
        Optional,  // with such a header or without: for a host on which both kinds of proxy run
    };

    CIpNetworks networks;
    Header header = Header::None;
};
