// How every tool begins and ends: its arguments, its exit status, and the line that says why.
#pragma once

#include <CLI/CLI.hpp>

#include <functional>
#include <iostream>
#include <stdexcept>

// Parses the arguments as declared at the app and runs the tool. Gives run's status, 0 after a
// help, and 2 for wrong use, which run may report by std::invalid_argument. What else it throws is
// main's to say.
inline int RunTool(const char* name, CLI::App& app, int argc, char** argv,
                   const std::function<int()>& run) {
    constexpr int wrongUse = 2;
    try {
        app.parse(argc, argv);
        return run();
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : wrongUse;
    } catch (const std::invalid_argument& mistake) {
        std::cerr << name << ": " << mistake.what() << "\n";
        return wrongUse;
    }
}

// Says why the tool could not run.
inline int SayFailure(const char* name, const std::exception& failure, int status = 3) {
    std::cerr << name << ": " << failure.what() << "\n";
    return status;
}
