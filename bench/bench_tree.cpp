// Speed and memory of the layer tree against bare Qt code in the same run.

#include "TreeBench.h"

#include <QApplication>

int main(int argc, char **argv)
{
    BenchHost::preparePlatform();
    const QApplication application(argc, argv);
    TreeBench bench;
    return bench.run(QApplication::arguments().mid(1)) == 0 ? 0 : 1;
}
