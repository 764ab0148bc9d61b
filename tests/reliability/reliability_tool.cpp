// Helper processes for scripts/reliability.sh: contention workers, a writer
// that gets killed, an open storm and a fault runner. Each reports what it
// did on stdout; the script checks the database from an independent client.
#include <fcntl.h>
#include <sqlite3.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <dbi/dbi.h>

namespace {

void useDatabase(const std::string& path) {
    dbi::Configure::setOptions(path, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX);
}

std::mutex outputLock;

// Runs body(0) ... body(count - 1) on threads of their own and waits for them.
void onThreads(int count, const std::function<void(int)>& body) {
    std::vector<std::thread> pool;
    for (int t = 0; t < count; ++t) pool.emplace_back(body, t);
    for (auto& t : pool) t.join();
}

std::string firstCell(const dbi::ResultTuple& result) {
    const char* cell = result.get<1>() > 0 ? result.get<0>().get()[result.get<2>()] : nullptr;
    return cell ? cell : "";
}

// One transaction of the shared schema: three parts of transaction `id`,
// then the counter that every committed transaction bumps once.
void writeTransaction(dbi::Transaction& transaction, long long id, const std::string& payload) {
    const std::string value = firstCell(transaction.execStatement("SELECT value FROM counter WHERE id = 1"));
    for (int part = 0; part < 3; ++part)
        transaction.execStatement("INSERT INTO parts (txn, part, payload) VALUES (" + std::to_string(id) + ", " +
                                  std::to_string(part) + ", '" + payload + "')");
    transaction.execStatement("UPDATE counter SET value = " + std::to_string(std::stoll(value) + 1) +
                              " WHERE id = 1");
}

// worker DB TAG THREADS TRANSACTIONS: contention worker. Transaction ids are
// TAG * 1000000 + thread * 10000 + n; each one is reported as
// "committed ID" or "failed ID CODE", then one summary line.
int worker(const std::string& db, int tag, int threads, int transactions) {
    useDatabase(db);
    std::atomic<int> committed{0}, busy{0}, retried{0}, other{0};
    onThreads(threads, [&](int thread) {
        for (int n = 0; n < transactions; ++n) {
            const long long id = tag * 1000000LL + thread * 10000LL + n;
            int runs = 0;
            std::string outcome = "committed";
            try {
                dbi::retryTransaction([&](dbi::Transaction& transaction) {
                    ++runs;
                    writeTransaction(transaction, id, "w");
                });
                ++committed;
            } catch (const dbi::DBIBaseException& e) {
                outcome = "failed";
                ++(e.getCode() == dbiresult::DBI_BUSY ? busy : other);
            }
            retried += runs - 1;
            std::lock_guard<std::mutex> lock(outputLock);
            std::cout << outcome << ' ' << id << '\n';
        }
    });
    std::cout << "summary committed=" << committed << " busy=" << busy << " retried=" << retried
              << " other=" << other << std::endl;
    return 0;
}

// crash-writer DB LOG: writes transactions until killed; each id goes to
// LOG, synced so that it survives a SIGKILL, only after release() returned.
int crashWriter(const std::string& db, const std::string& logPath) {
    useDatabase(db);
    const int log = ::open(logPath.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0644);
    if (log < 0) throw std::runtime_error("cannot open " + logPath);
    long long id = 1 + std::stoll("0" + firstCell(dbi::Transaction::getDefaultTransaction().execStatement(
                                            "SELECT max(txn) FROM parts")));
    for (;; ++id) {
        dbi::retryTransaction([&](dbi::Transaction& transaction) { writeTransaction(transaction, id, "c"); });
        const std::string line = std::to_string(id) + "\n";
        if (::write(log, line.data(), line.size()) != static_cast<ssize_t>(line.size()) || ::fdatasync(log) != 0)
            throw std::runtime_error("log write failed");
    }
}

// open-storm DB THREADS START_EPOCH_MS: every thread waits for the common
// start, then runs its first statement on a fresh connection.
int openStorm(const std::string& db, int threads, long long startMs) {
    useDatabase(db);
    std::atomic<int> failures{0};
    onThreads(threads, [&](int) {
        std::this_thread::sleep_until(std::chrono::system_clock::time_point(std::chrono::milliseconds(startMs)));
        try {
            dbi::Transaction::getDefaultTransaction().execStatement("SELECT count(*) FROM parts");
        } catch (const dbi::DBIBaseException& e) {
            ++failures;
            std::lock_guard<std::mutex> lock(outputLock);
            std::cout << "failure " << e.getCode() << ' ' << e.what() << '\n';
        }
    });
    std::cout << "summary failures=" << failures << std::endl;
    return 0;
}

// fault-runner DB PAYLOAD_BYTES FIRST_ID: reads a count per stdin line, runs
// that many transactions, each on a connection of its own that is closed
// afterwards, as a short-lived process would, and answers one line: the
// committed and failed ids and the first failure's code and text.
int faultRunner(const std::string& db, std::size_t payloadBytes, long long firstId) {
    useDatabase(db);
    const std::string payload(payloadBytes, 'f');
    long long id = firstId;
    std::string line;
    while (std::getline(std::cin, line)) {
        std::string committed, failed, firstFailure;
        for (int n = std::stoi(line); n > 0; --n, ++id) {
            try {
                dbi::Transaction transaction(true);
                writeTransaction(transaction, id, payload);
                transaction.release();
                committed += ' ' + std::to_string(id);
            } catch (const dbi::DBIBaseException& e) {
                failed += ' ' + std::to_string(id);
                if (firstFailure.empty()) firstFailure = std::to_string(e.getCode()) + ": " + e.what();
            }
            dbi::DBManager::swapConnection(boost::shared_ptr<sqlite3>());
        }
        // Messages may hold a statement's text; keep the answer on one line.
        for (char& c : firstFailure)
            if (c == '\n' || c == '|') c = ' ';
        std::cout << "committed:" << committed << "|failed:" << failed << "|first:" << firstFailure.substr(0, 200)
                  << std::endl;
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> args(argv + 1, argv + argc);
    try {
        if (args.size() == 5 && args[0] == "worker")
            return worker(args[1], std::stoi(args[2]), std::stoi(args[3]), std::stoi(args[4]));
        if (args.size() == 3 && args[0] == "crash-writer") return crashWriter(args[1], args[2]);
        if (args.size() == 4 && args[0] == "open-storm")
            return openStorm(args[1], std::stoi(args[2]), std::stoll(args[3]));
        if (args.size() == 4 && args[0] == "fault-runner")
            return faultRunner(args[1], std::stoul(args[2]), std::stoll(args[3]));
    } catch (const std::exception& e) {
        std::cerr << "reliability_tool: " << e.what() << '\n';
        return 1;
    }
    // Exit status 2 tells scripts/reliability.sh that the program runs.
    std::cerr << "usage: reliability_tool worker DB TAG THREADS TRANSACTIONS | crash-writer DB LOG |\n"
                 "       open-storm DB THREADS START_EPOCH_MS | fault-runner DB PAYLOAD_BYTES FIRST_ID\n";
    return 2;
}
