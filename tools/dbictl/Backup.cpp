// dbictl backup: an online copy of a database, with its progress.
#include <unistd.h>

#include <iomanip>
#include <iostream>
#include <sstream>

#include <boost/chrono.hpp>
#include <boost/core/ref.hpp>
#include <dbi/Backup.h>

#include "Commands.h"

namespace dbictl {
namespace {

using Clock = boost::chrono::steady_clock;

// A bar redrawn in place on a terminal; elsewhere a plain line at most once
// a second and at the end, so logs stay short.
class ProgressDisplay {
public:
    ProgressDisplay() : terminal(isatty(STDOUT_FILENO)), start(Clock::now()), lastLine(start) {}

    void operator()(int remaining, int total) {
        const Clock::time_point now = Clock::now();
        if (!terminal && remaining != 0 && now - lastLine < boost::chrono::seconds(1)) return;
        lastLine = now;
        const int copied = total - remaining;
        const double seconds = boost::chrono::duration<double>(now - start).count();
        std::ostringstream rate;
        rate << std::fixed << std::setprecision(0) << (seconds > 0 ? copied / seconds : 0.0) << " pages/s";
        if (terminal) {
            const int width = 30;
            const int filled = total > 0 ? static_cast<int>(static_cast<long long>(width) * copied / total) : width;
            std::cout << "\r[" << std::string(filled, '#') << std::string(width - filled, '.') << "] " << copied
                      << "/" << total << " pages  " << rate.str() << "\033[K" << (remaining == 0 ? "\n" : "")
                      << std::flush;
        } else {
            std::cout << copied << " of " << total << " pages copied, " << rate.str() << std::endl;
        }
    }

private:
    bool terminal;
    Clock::time_point start;
    Clock::time_point lastLine;
};

}  // namespace

int backup(const Arguments& args, DatabaseOpener open) {
    const std::string& file = args.operands().at(0);
    open(args.database(), false);
    ProgressDisplay display;
    const Clock::time_point start = Clock::now();
    dbi::backupDatabase(file, boost::ref(display));
    std::cout << "backed up " << args.database() << " to " << file << " in " << std::fixed << std::setprecision(1)
              << boost::chrono::duration<double>(Clock::now() - start).count() << " s\n";
    return 0;
}

}  // namespace dbictl
