// What the lobby says of itself beside the figures for Prometheus.
#pragma once

#include <cstdint>

#include "HttpServer.h"

class History;
class ProcessCounters;

// The page for whoever has no dashboards at hand; it asks for /status.json.
extern const char* const OPERATOR_PAGE;

// GET /healthz: 200 while clients are let in and the worker works, else 503; the body says more.
// A link or Redis that is away does not make the lobby unhealthy: it serves what it can, and
// another lobby would lack them, too.
HttpAnswer Health(const ProcessCounters& counters);

// GET /status.json, for the page. start: epoch seconds.
HttpAnswer Status(const ProcessCounters& counters, const History& history, int64_t start);
