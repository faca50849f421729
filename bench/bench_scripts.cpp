// Scripts, against the work that they cause.

#include "BenchHost.h"
#include "Measure.h"
#include "mkKernel/mkScript.h"
#include "mkMicroKernel/mkPythonRegister.h"
#include "mkRenderLayerModule.h"

#include <QApplication>

namespace {

class ScriptBench
{
public:
    ScriptBench()
    {
        mkPythonRegisterFactory::run(mkPythonRegisterFactory::BeforeInterpreter);
        mkScript::start();
        mkPythonRegisterFactory::run(mkPythonRegisterFactory::AfterInterpreter);
        run("import fnmatch");
    }
    ~ScriptBench() { mkScript::stop(); }

    int run()
    {
        manyAtOnce();
        oneByOne();
        search();
        return report.overCount();
    }

private:
    static void run(const char *statements)
    {
        if (!mkScript::run(statements)) {
            qFatal("%s", statements);
        }
    }
    static Timed script(const char *statements)
    {
        return [statements] { return secondsOf([statements] { run(statements); }); };
    }
    double rebuild() const
    {
        return secondsOf([this] { host.tree()->rebuildTree(false); });
    }
    void emptyLayer() const
    {
        for (const mkNodePtr &node : host.nodes()) {
            BenchHost::store()->subNode(0, node.get());
        }
        host.tree()->rebuildTree(false);
    }
    void line(const char *name, const Comparison &figure, const char *unit, double limit)
    {
        report.line(QLatin1String(name), figure.ratio, QLatin1String(unit), limit,
                    QStringLiteral("%1; %2 ms")
                        .arg(figure.spread)
                        .arg(figure.subject * 1e3, 0, 'f', 1));
    }

    /// However many nodes one call is about, the panel is rebuilt once.
    void manyAtOnce()
    {
        constexpr int runs = 9;
        host.open({ 1, 10000 });
        run("nodes = mkHost.getLayerNodes('Layer0')");
        line("script_add_10000",
             compare(
                 runs,
                 [this] {
                     emptyLayer();
                     return script("mkHost.addLayerNodes('Layer0', nodes)")();
                 },
                 [this] { return rebuild(); }),
             "x_rebuild", 1.5);
        line("script_set_attributes_10000",
             compare(runs, script("mkHost.setLayerAttributes('Layer0', castShadows=False)"),
                     [this] { return rebuild(); }),
             "x_rebuild", 1.5);
        line("script_activate_10000",
             compare(runs, script("mkHost.activateLayer('Layer0')"),
                     [] { return secondsOf([] { BenchHost::store()->activateLayer(0); }); }),
             "x_store", 1.5);
        run("del nodes");
    }

    /// Each node costs a rebuild by contract, so its cost must grow as a rebuild of the layer does,
    /// and no faster.
    void oneByOne()
    {
        std::vector<double> sizes;
        std::vector<double> perNode;
        std::vector<double> rebuilds;
        QStringList costs;
        for (const int members : { 300, 600, 1200 }) {
            host.open({ 1, members });
            std::vector<double> runs;
            for (int count = 0; count < 15; ++count) {
                runs.push_back(rebuild());
            }
            emptyLayer();
            const double seconds = secondsOf(
                [this] { mkRenderLayerModule::addNodesToRenderLayer(host.nodes(), "Layer0"); });
            sizes.push_back(members);
            rebuilds.push_back(median(runs));
            perNode.push_back(seconds / members);
            costs += QStringLiteral("%1 nodes: %2 ms a node, %3 ms a rebuild")
                         .arg(members)
                         .arg(perNode.back() * 1e3, 0, 'f', 2)
                         .arg(rebuilds.back() * 1e3, 0, 'f', 2);
        }
        report.line("script_add_one_by_one_1200", perNode.back() / rebuilds.back(), "x_rebuild",
                    1.5);
        report.line("script_add_one_by_one/growth_per_node", growthExponent(sizes, perNode),
                    "exponent", growthExponent(sizes, rebuilds), costs.join(QStringLiteral("; ")));
    }

    /// Against Python that looks through a list of the names.
    void search()
    {
        host.open({ 1, 100000 });
        run("names = [node.name for node in mkHost.findNodes()]");
        line("script_find_100000",
             compare(5, script("found = mkHost.findNodes(name='node_1*7')"),
                     script("found = [name for name in names"
                            " if fnmatch.fnmatchcase(name, 'node_1*7')]")),
             "x_bare", 3);
        run("del found, names");
    }

    BenchHost host;
    Report report;
};

} // namespace

int main(int argc, char **argv)
{
    BenchHost::preparePlatform();
    const QApplication application(argc, argv);
    ScriptBench bench;
    return bench.run() == 0 ? 0 : 1;
}
