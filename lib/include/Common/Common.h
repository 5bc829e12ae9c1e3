// Public umbrella header of the base library: configuration files, logging, threads, clock.
#pragma once

#include "Common/Clock.h"
#include "Common/IniFile.h"
#include "Common/Log.h"
#include "Common/Thread.h"
