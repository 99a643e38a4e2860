#include "guest_options.h"

#include <CLI/CLI.hpp>

void addGuestOptions(CLI::App& app, GuestOptions& options)
{
    constexpr std::uint64_t kLargestPiece = 1ULL << 30;
    auto* guest = app.add_option("--guest", options.directory, "Offer the files of this folder as a guest's list");
    auto* lazy = app.add_flag("--lazy", options.lazy, "Offer one placeholder, and bring the files to where it lands")
                     ->needs(guest);
    app.add_option("--again", options.again, "Offer the list again and again, after as many milliseconds each time")
        ->needs(guest);
    // Of the streams only.
    const auto add = [&app, guest, lazy](const char* name, auto& value, const char* text) {
        return app.add_option(name, value, text)->needs(guest)->excludes(lazy);
    };
    add("--rate", options.rate, "Deliver that many bytes a second");
    add("--piece", options.piece, "Deliver pieces of that many bytes")
        ->check(CLI::Range(std::uint64_t{1}, kLargestPiece));
    add("--delay", options.delay, "Milliseconds before the first delivery");
    add("--fail-at", options.failAt, "Report a failed transfer after that many bytes");
    add("--stall-at", options.stallAt, "Deliver nothing more after that many bytes");
    const auto addFlag = [&app, guest, lazy](const char* name, bool& value, const char* text) {
        app.add_flag(name, value, text)->needs(guest)->excludes(lazy);
    };
    addFlag("--veto", options.veto, "Refuse every paste");
    addFlag("--stop-on-cancel", options.stopOnCancel, "End the delivery when it is cancelled");
}
