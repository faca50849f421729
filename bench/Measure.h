#pragma once

#include <QString>

#include <functional>
#include <vector>

/// Prints one line a figure, "NAME VALUE UNIT LIMIT ok|over", and keeps count of those over.
class Report
{
public:
    /// `spread` says how far single runs lay apart; it may be empty.
    void line(const QString &name, double value, const QString &unit, double limit,
              const QString &spread = QString());
    int overCount() const { return over; }

private:
    int over = 0;
};

/// The processor time that this thread has used. Everything measured here runs in one thread and
/// waits for nothing, so on an idle machine this is the time that passes; on a busy one it leaves
/// out the others.
double processorSeconds();

/// Seconds that `work` takes.
double secondsOf(const std::function<void()> &work);

double median(std::vector<double> values);

/// Seconds of one run each; what they prepare beforehand does not count.
using Timed = std::function<double()>;

struct Comparison
{
    double subject; ///< median seconds
    double floor;   ///< median seconds
    double ratio;   ///< median of the ratios of neighbouring runs
    QString spread; ///< "lowest..highest" of the middle half of those ratios
};

/// Runs subject and floor by turns, so that both see the same machine.
Comparison compare(int runs, const Timed &subject, const Timed &floor);

/// Median milliseconds of something short, from 7 times 50 runs of Google Benchmark.
double shortMilliseconds(const Timed &work);

/// Fills the processor's caches with something else, so that small trees are not quick just
/// because they were built a moment ago.
void coolCaches();

/// The exponent e of cost ~ size^e, fitted over the points in log space.
double growthExponent(const std::vector<double> &sizes, const std::vector<double> &seconds);
