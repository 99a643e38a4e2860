#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace CLI {
class App;
}

/// What the command line says of the guest that the host plays.
struct GuestOptions {
    std::string directory;                 // the guest's files; empty: no guest
    bool lazy = false;                     // offers one placeholder instead of streams
    std::uint64_t rate = 0;                // bytes a second; 0: as fast as it goes
    std::uint64_t piece = 65536;           // bytes of a delivery
    unsigned delay = 0;                    // milliseconds before the first delivery
    unsigned again = 0;                    // offers the list again after as many milliseconds; 0: once
    bool veto = false;                     // refuses every paste
    bool stopOnCancel = false;             // otherwise it goes on delivering, which must do no harm
    std::optional<std::uint64_t> failAt;   // reports a failed transfer after that many bytes
    std::optional<std::uint64_t> stallAt;  // falls silent after that many bytes
};

/// Adds the options to the host's own.
void addGuestOptions(CLI::App& app, GuestOptions& options);
