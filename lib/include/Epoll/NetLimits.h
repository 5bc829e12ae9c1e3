// Public header: bounds on what waits on connections, beyond the two counts of Initialize.
#pragma once

// All of them off by default.
struct NetLimits {
    // For clients, instead of the two counts of Initialize; 0: as for links.
    unsigned long clientRecvCount = 0;
    unsigned long clientSendCount = 0;
    // A message that does not fit the ring of a link is refused and the link stays, instead of
    // being closed as a client is.
    bool keepFullLinks = false;
    // Blocks of 4 KiB, sent and received ones of all connections, that may be in use. While there
    // are more, clients are not read, and those that take least of what is sent are closed. Needs
    // the search for silent clients. 0: any number.
    unsigned long buffers = 0;
};
