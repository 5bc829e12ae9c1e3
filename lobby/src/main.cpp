// The process: starts the lobby, waits for its end, ends in order.
#include <cstdlib>
#include <memory>

#include "CommandLine.h"
#include "Common/Log.h"
#include "Common/Supervisor.h"
#include "LobbyServer.h"
#include "SignalWaiter.h"

int main(int argc, char** argv) {
    if (const auto status = AnswerArguments(argc, argv)) return *status;
    SignalWaiter::Block();
    UnblockConsole();
    InitializeLog("LobbyServer.cfg", nullptr);
    __log(_DEBUG, "main", "**************** starting %s v4.0.1.0 ****************\r\n",
          "LobbyServer");
    SayWhatStarts();
    auto server = std::make_unique<LobbyServer>();
    int status = EXIT_SUCCESS;
    {
        SignalWaiter signals(*server);
        if (server->Start() == 0) {
            signals.Wait();
            if (signals.IsDrained() && HasSupervisor()) status = EXIT_DRAINED;
        } else {
            status = StatusOfFailedStart();
        }
    }
    server.reset();
    __log(_DEBUG, "main", "%s has been exit !\r\n", argv[0]);
    return status;
}
