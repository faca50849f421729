#include "PanelSession.h"

#include "mkKernel/mkScript.h"

#include <QTest>

#include <rapidcheck.h>

#include <iostream>

std::ostream &operator<<(std::ostream &stream, const PanelSession::Step &step)
{
    return stream << step.kind << '/' << step.a << '/' << step.b;
}

/// Random sessions, compared with a plain model after each step. MK_RANDOM_STEPS is the number of
/// steps, MK_RANDOM_SEED where to begin; what fails is told as a story, as short as it gets unless
/// RC_PARAMS says "noshrink=1".
class tst_Random : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void sessions();
};

void tst_Random::sessions()
{
    using Step = PanelSession::Step;
    constexpr std::size_t length = 50;
    const auto number = [](const char *variable, const char *otherwise) {
        return qEnvironmentVariable(variable, otherwise).toUInt();
    };
    const unsigned seed = number("MK_RANDOM_SEED", "1");
    const auto count = unsigned(number("MK_RANDOM_STEPS", "15000") / length + 1);
    qputenv("RC_PARAMS", QString("seed=%1 max_success=%2 ").arg(seed).arg(count).toUtf8()
                             + qgetenv("RC_PARAMS"));

    // Ranges are used to the full from the first sequence on.
    const auto toStep = [](unsigned kind, unsigned a, unsigned b) { return Step{ kind, a, b }; };
    const auto choice = rc::gen::inRange(0U, 27720U);
    const auto step = rc::gen::resize(rc::kNominalSize,
                                      rc::gen::apply(toStep, rc::gen::noShrink(choice), choice,
                                                     choice));
    const auto sequence = rc::gen::shrink(rc::gen::container<std::vector<Step>>(length, step),
                                          [](const std::vector<Step> &longer) {
                                              return rc::shrink::removeChunks(longer);
                                          });
    HostFixture host(true);
    QVERIFY(mkScript::run("import mkHost"));
    const auto result = rc::detail::checkTestable([&] {
        PanelSession session(host);
        return session.play(*sequence).toStdString();
    });
    if (result.is<rc::detail::FailureResult>()) {
        std::cerr << result.get<rc::detail::FailureResult>().description << std::endl;
    }
    QVERIFY2(result.is<rc::detail::SuccessResult>(), qPrintable(QString("with seed %1").arg(seed)));
}

QTEST_MAIN(tst_Random)
#include "tst_random.moc"
