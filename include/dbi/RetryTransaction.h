#ifndef DBI_RETRYTRANSACTION_H
#define DBI_RETRYTRANSACTION_H

#include <type_traits>
#include <utility>

#include <boost/date_time/posix_time/posix_time_types.hpp>

#include "dbi/DBIException.h"
#include "dbi/Export.h"
#include "dbi/Transaction.h"

namespace dbi {

/// How often and how patiently retryTransaction starts a transaction over.
struct RetryPolicy {
    /// Tries in all, the first included; 1 or less runs the work once.
    int attempts = 5;
    /// Ceiling of the pause before the first retry; it doubles with each
    /// further retry. Each pause is drawn at random from the upper half of its
    /// ceiling.
    boost::posix_time::time_duration firstPause = boost::posix_time::milliseconds(20);
    /// Highest ceiling; a value below firstPause counts as firstPause.
    boost::posix_time::time_duration maxPause = boost::posix_time::seconds(2);
};

namespace detail {

/// Pause before retry number `retry` (1 for the first): growing from
/// firstPause towards maxPause, randomised so that competing processes do
/// not start over in lockstep.
DBI_EXPORT boost::posix_time::time_duration retryPause(const RetryPolicy& policy, int retry);
DBI_EXPORT void pauseBeforeRetry(const RetryPolicy& policy, int retry);

/// Runs work in a fresh transaction on this thread and releases it.
template <class Work>
auto runInTransaction(Work& work) {
    Transaction transaction(true);
    if constexpr (std::is_void_v<decltype(work(transaction))>) {
        work(transaction);
        transaction.release();
    } else {
        auto result = work(transaction);
        transaction.release();
        return result;
    }
}

}  // namespace detail

/// Runs `work(Transaction&)` in a fresh Transaction(true), releases it and
/// returns what `work` returned. Meant for read-then-write transactions that
/// several processes run at once: when the transaction meets contention
/// (DBIException<16>, a stale snapshot included) or is lost with its
/// connection (DBIException<3>), it is rolled back and the whole work runs
/// again after a pause, up to `policy.attempts` tries; then the last failure
/// passes on. Any other exception rolls back and passes on at once. `work`
/// must therefore be safe to run again from the start.
///
/// Called while the thread already has a savepoint open, the work runs once
/// in a nested transaction, without retries: only the outermost transaction
/// can start over.
template <class Work>
auto retryTransaction(Work&& work, const RetryPolicy& policy = RetryPolicy()) {
    if (TransactionMgr::get()->depth() > 0) return detail::runInTransaction(work);
    for (int attempt = 1;; ++attempt) {
        const bool lastAttempt = attempt >= policy.attempts;
        // Transactions this attempt began before a connection failure
        // forgot them are recognised by the changed generation.
        const auto generation = TransactionMgr::get()->generation();
        try {
            return detail::runInTransaction(work);
        } catch (const DBIException<dbiresult::DBI_BUSY>&) {
            if (lastAttempt) throw;
        } catch (const DBIException<dbiresult::DBI_STORAGE_ERROR>&) {
            if (lastAttempt || TransactionMgr::get()->generation() == generation) throw;
        }
        detail::pauseBeforeRetry(policy, attempt);
    }
}

}  // namespace dbi

#endif
