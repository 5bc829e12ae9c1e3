// How every tool begins and ends: its arguments, its exit status, and the line that says why.
#pragma once

#include <CLI/CLI.hpp>

#include <functional>
#include <iostream>
#include <stdexcept>

// Parses the arguments as declared at the app and runs the tool. Gives run's status, 0 after a
// help; 2 for wrong use, which run may report by std::invalid_argument; and `failed` for
// everything else that it throws.
inline int RunTool(const char* name, CLI::App& app, int argc, char** argv,
                   const std::function<int()>& run, int failed = 3) {
    constexpr int wrongUse = 2;
    const auto fail = [name](const std::exception& why, int status) {
        std::cerr << name << ": " << why.what() << "\n";
        return status;
    };
    try {
        app.parse(argc, argv);
        return run();
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : wrongUse;
    } catch (const std::invalid_argument& mistake) {
        return fail(mistake, wrongUse);
    } catch (const std::exception& failure) {
        return fail(failure, failed);
    }
}
