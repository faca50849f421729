#pragma once

#include "HostFixture.h"
#include "PanelModel.h"

#include <array>

/// One random sequence: each step is done to the model and to the real panel.
class PanelSession
{
public:
    /// One thing that happens. What `a` and `b` choose depends on what there is when it happens.
    struct Step
    {
        unsigned kind;
        unsigned a;
        unsigned b;
    };

    explicit PanelSession(HostFixture &fixture);
    /// The story up to the first step after which panel and model differ; empty if none does.
    QString play(const std::vector<Step> &steps);

private:
    using Row = PanelModel::Row;
    using Rows = PanelModel::Rows;
    using Deeds = std::vector<std::function<void()>>;

    /// What the user does to the row `target`; in the panel otherwise; what happens beside it.
    Deeds deedsOnRows();
    Deeds deedsInPanel();
    Deeds deedsBeside();
    void command();
    void rename();
    void openScene();
    void editScene();
    void storeBehindThePanel();

    void perform();
    void check();
    void compare(const QString &what, const QString &is, const QString &wanted);
    void tell(const QString &line) { story += line; }
    void tellOfRow(const QString &deed) { tell(deed + ' ' + HostFixture::pathOf(target)); }
    QTreeWidgetItem *shown() const { return PanelModel::twin(target, *tree); }
    QString anyName(unsigned choice) const { return names[int(choice) % names.size()]; }
    static osg::MaterialPtr anyMaterial(unsigned choice);
    std::array<mkRenderLayer *, 2> stores() { return { HostFixture::store(), &model.store }; }
    /// A tree that grows without end says nothing more, slowly.
    bool full() const { return model.layerCount() >= 6; }

    /// Few, so that they clash.
    const QStringList names{ "A", "B", "Layer", "Layer1", "a", "Größe", "" };
    HostFixture &host;
    QTreeWidget *tree;
    PanelModel model;
    const Deeds deeds[4]{ deedsOnRows(), deedsInPanel(), deedsBeside(), { [this] { command(); } } };
    QStringList story;
    Step step{};
    Row target = nullptr;
    int rebuilds = 0;
    /// How the next dialog is answered, and how many there were.
    std::function<void(QWidget *)> answer;
    int dialogs = 0;
    /// What is not as it should be after the step.
    QStringList wrong;
};
