#include "dbi/RetryTransaction.h"

#include <algorithm>
#include <random>

#include <boost/thread/thread.hpp>

namespace dbi {
namespace detail {

boost::posix_time::time_duration retryPause(const RetryPolicy& policy, int retry) {
    // Doubles with each retry up to maxPause; the doubling stops early so
    // the product cannot overflow.
    long long ceiling = std::max<long long>(policy.firstPause.total_microseconds(), 1);
    const long long limit = std::max<long long>(policy.maxPause.total_microseconds(), ceiling);
    for (int i = 1; i < retry && ceiling < limit; ++i) ceiling *= 2;
    ceiling = std::min(ceiling, limit);
    // A random point in the upper half keeps the growth but breaks lockstep.
    thread_local std::mt19937_64 generator{std::random_device{}()};
    std::uniform_int_distribution<long long> pick(ceiling / 2, ceiling);
    return boost::posix_time::microseconds(pick(generator));
}

void pauseBeforeRetry(const RetryPolicy& policy, int retry) {
    boost::this_thread::sleep_for(boost::chrono::microseconds(retryPause(policy, retry).total_microseconds()));
}

}  // namespace detail
}  // namespace dbi
