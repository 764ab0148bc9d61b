// dbictl check: the health of a database file as an operator sees it.
#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <fstream>
#include <iostream>
#include <memory>
#include <set>
#include <sstream>

#include "Commands.h"
#include "RecordClasses.h"

namespace dbictl {
namespace {

using dbi::library::CRState;

// The text cells of a statement's result, row by row, headings left out;
// NULL cells read as empty.
std::vector<std::vector<std::string>> query(const std::string& sql) {
    const dbi::ResultTuple result = dbi::Transaction::getDefaultTransaction().execStatement(sql);
    char** cells = result.get<0>().get();
    const int rows = result.get<1>();
    const int columns = result.get<2>();
    std::vector<std::vector<std::string>> table;
    for (int row = 1; row <= rows; ++row) {
        table.emplace_back();
        for (int column = 0; column < columns; ++column) {
            const char* cell = cells[row * columns + column];
            table.back().push_back(cell ? cell : "");
        }
    }
    return table;
}

std::string scalar(const std::string& sql) {
    const auto rows = query(sql);
    return rows.empty() || rows[0].empty() ? "" : rows[0][0];
}

// Prints one line per aspect and collects what is wrong.
class Report {
public:
    void line(const std::string& aspect, const std::string& text) { std::cout << aspect << ": " << text << "\n"; }
    void finding(const std::string& text) { findings.push_back(text); }

    // Lists up to `shown` findings of a kind and counts the rest.
    void findingsOf(const std::vector<std::string>& texts, std::size_t shown = 20) {
        for (std::size_t i = 0; i < texts.size() && i < shown; ++i) finding(texts[i]);
        if (texts.size() > shown) finding("... and " + std::to_string(texts.size() - shown) + " more like these");
    }

    int conclude() const {
        if (findings.empty()) {
            std::cout << "healthy\n";
            return 0;
        }
        std::cout << findings.size() << (findings.size() == 1 ? " finding:\n" : " findings:\n");
        for (const std::string& text : findings) std::cout << "  " << text << "\n";
        return 1;
    }

private:
    std::vector<std::string> findings;
};

void checkIntegrity(Report& report) {
    std::vector<std::string> problems;
    for (const auto& row : query("PRAGMA integrity_check"))
        if (row[0] != "ok") problems.push_back("integrity: " + row[0]);
    report.line("integrity", problems.empty() ? "ok" : std::to_string(problems.size()) + " problems");
    report.findingsOf(problems);
}

void checkForeignKeys(Report& report) {
    std::vector<std::string> problems;
    for (const auto& row : query("PRAGMA foreign_key_check"))
        problems.push_back(row[0] + " row " + row[1] + " refers to a missing " + row[2] + " row");
    report.line("foreign keys", problems.empty() ? "ok" : std::to_string(problems.size()) + " broken references");
    report.findingsOf(problems);
}

// The tables there are; a finding for each record class without its table.
std::set<std::string> checkTables(Report& report) {
    std::set<std::string> present;
    for (const auto& row : query("SELECT name FROM sqlite_master WHERE type = 'table'")) present.insert(row[0]);
    std::vector<std::string> missing;
    for (const std::string& table : knownTables())
        if (!present.count(table)) missing.push_back("table " + table + " is missing");
    report.line("tables", std::to_string(knownTables().size() - missing.size()) + " of " +
                              std::to_string(knownTables().size()) + " present");
    report.findingsOf(missing);
    return present;
}

void describeJournal(Report& report) {
    const auto row = query("SELECT count(*), max(id) FROM library_event").at(0);
    report.line("journal", row[0] == "0" ? "empty" : row[0] + " rows, newest id " + row[1]);
}

void describeWriteAheadLog(Report& report, const std::string& database) {
    struct stat info {};
    const bool exists = stat((database + "-wal").c_str(), &info) == 0;
    report.line("write-ahead log", exists ? std::to_string(info.st_size) + " bytes" : "none");
}

void describeSize(Report& report) {
    const long long pages = std::stoll(scalar("PRAGMA page_count"));
    const long long pageSize = std::stoll(scalar("PRAGMA page_size"));
    std::ostringstream text;
    text << pages << " pages of " << pageSize << " bytes (" << (pages * pageSize + 1023) / 1024 << " KiB), "
         << scalar("PRAGMA freelist_count") << " free";
    report.line("size", text.str());
}

bool hasDatabaseHeader(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    char header[16] = {};
    return file.read(header, sizeof header) &&
           std::string(header, sizeof header) == std::string("SQLite format 3\0", 16);
}

std::string describeAge(std::time_t seconds) {
    if (seconds < 0) seconds = 0;
    std::ostringstream text;
    if (seconds >= 86400) text << seconds / 86400 << " d " << seconds % 86400 / 3600 << " h";
    else if (seconds >= 3600) text << seconds / 3600 << " h " << seconds % 3600 / 60 << " min";
    else if (seconds >= 60) text << seconds / 60 << " min";
    else text << seconds << " s";
    return text.str();
}

// The newest database file in `directory` by modification time; a backup's
// unfinished temporary files do not count.
void describeNewestBackup(Report& report, const std::string& directory) {
    const std::unique_ptr<DIR, int (*)(DIR*)> listing(opendir(directory.c_str()), closedir);
    if (!listing) {
        report.finding("backup directory " + directory + ": " + std::strerror(errno));
        return;
    }
    std::string newest;
    std::time_t newestTime = 0;
    while (const dirent* entry = readdir(listing.get())) {
        const std::string path = directory + "/" + entry->d_name;
        struct stat info {};
        if (std::strstr(entry->d_name, ".tmp-") || stat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode) ||
            !hasDatabaseHeader(path))
            continue;
        if (newest.empty() || info.st_mtime > newestTime) {
            newest = path;
            newestTime = info.st_mtime;
        }
    }
    if (newest.empty()) {
        report.line("newest backup", "none");
        report.finding("no backup in " + directory);
        return;
    }
    report.line("newest backup", newest + ", " + describeAge(std::time(nullptr) - newestTime) + " old");
}

std::string stateName(const std::string& id) {
    const std::string name = scalar("SELECT name FROM library_crstate WHERE id = " + id);
    return name.empty() ? "state " + id : name;
}

// Commands (rows with a target; one-way events have none) by state, and
// the ones a responder has not finished a minute after they were sent.
void checkCommandChannel(Report& report) {
    std::string states;
    for (const auto& row : query("SELECT state_id, count(*) FROM library_commandresponse WHERE target_id <> 0 "
                                 "GROUP BY state_id ORDER BY state_id"))
        states += (states.empty() ? "" : ", ") + row[1] + " " + stateName(row[0]);
    report.line("commands", states.empty() ? "none" : states);
    report.line("one-way events",
                scalar("SELECT count(*) FROM library_commandresponse WHERE target_id = 0 OR target_id IS NULL"));

    std::ostringstream waiting;
    waiting << "SELECT id, state_id, start_time FROM library_commandresponse WHERE target_id <> 0 AND state_id IN ("
            << CRState::NEW << ", " << CRState::ACCEPTED << ") AND julianday(start_time) < julianday('now') - 60.0 / 86400 "
            << "ORDER BY id";
    std::vector<std::string> stuck;
    for (const auto& row : query(waiting.str()))
        stuck.push_back("command #" + row[0] + " still " + stateName(row[1]) + " since " + row[2] +
                        " (over a minute)");
    report.line("commands waiting over a minute", std::to_string(stuck.size()));
    report.findingsOf(stuck);
}

// The rows commands refer to: every state the channel writes, and at least
// one endpoint and one operation to send between.
void checkLookupRows(Report& report) {
    for (const int state : {CRState::NEW, CRState::ACCEPTED, CRState::COMPLETED, CRState::TIMED_OUT})
        if (scalar("SELECT count(*) FROM library_crstate WHERE id = " + std::to_string(state)) == "0")
            report.finding("library_crstate lacks the row of state " + std::to_string(state));
    const std::string endpoints = scalar("SELECT count(*) FROM library_crendpoint");
    const std::string operations = scalar("SELECT count(*) FROM library_croperation");
    report.line("lookup rows", scalar("SELECT count(*) FROM library_crstate") + " states, " + endpoints +
                                   " endpoints, " + operations + " operations");
    if (endpoints == "0") report.finding("library_crendpoint is empty: commands have no endpoint to name");
    if (operations == "0") report.finding("library_croperation is empty: commands have no operation to name");
}

}  // namespace

int check(const Arguments& args, DatabaseOpener open) {
    open(args.database(), false);
    Report report;
    checkIntegrity(report);
    describeSize(report);
    checkForeignKeys(report);
    const std::set<std::string> tables = checkTables(report);
    const auto has = [&](std::initializer_list<const char*> names) {
        return std::all_of(names.begin(), names.end(), [&](const char* name) { return tables.count(name) != 0; });
    };
    if (has({"library_event"})) describeJournal(report);
    if (has({"library_commandresponse", "library_crstate"})) checkCommandChannel(report);
    if (has({"library_crstate", "library_crendpoint", "library_croperation"})) checkLookupRows(report);
    describeWriteAheadLog(report, args.database());
    if (args.has("backups")) describeNewestBackup(report, args.text("backups", ""));
    return report.conclude();
}

}  // namespace dbictl
