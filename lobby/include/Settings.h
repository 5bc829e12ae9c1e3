// The lobby's configuration files and how they are read.
#pragma once

#include "Common/IniFile.h"
#include "EndpointText.h"
#include "Epoll/ProxyTrust.h"
#include "MessageLimits.h"

// Shared by every handler. Loaded by LobbyServer's constructor; the last two again every 30
// minutes on the message worker.
extern CIniFile m_ConfigFile;              // LobbyServer.cfg
extern CIniFile m_ConfigSensitiveNameCfg;  // SensitiveName.cfg
extern CIniFile m_ConfigFileDiscUserID;    // disconnectuserid.cfg

// All of these look into LobbyServer.cfg. Any thread, once the file is loaded.

// Reads an address. False, with a sentence for the operator on standard error, when the key is
// missing, longer than 31 characters or not of the form host:port.
bool ReadEndpoint(const char* section, const char* key, Endpoint& endpoint);

// Says on standard error what is wrong with a key.
void ComplainConfig(const char* section, const char* key, const char* what);

// The limits on clients' messages, and the proxies that may name their clients. What is wrong is
// ignored, with a complaint.
MessageLimits ReadLimits();
ProxyTrust ReadProxies();
