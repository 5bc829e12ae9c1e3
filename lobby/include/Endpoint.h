// Addresses in LobbyServer.cfg.
#pragma once

#include "EndpointText.h"

// Reads section/key of LobbyServer.cfg. False, with a sentence for the operator on standard
// error, when the key is missing, longer than 31 characters or not of the form host:port.
// Any thread, once the file is loaded.
bool ReadEndpoint(const char* section, const char* key, Endpoint& endpoint);

// Says on standard error what is wrong with a key of LobbyServer.cfg. Any thread.
void ComplainConfig(const char* section, const char* key, const char* what);
