#include "mkRayViewPanel.h"

#include "mkKernel/mkScenegraph.h"
#include "mkKernel/mkSelectionManager.h"
#include "mkKernelServices/mkScopedUndo.h"
#include "mkRayLayersDialog.h"
#include "mkRayPictureFiles.h"
#include "mkShortcut/mkShortcut.h"

#include <QActionGroup>
#include <QCoreApplication>
#include <QDoubleSpinBox>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QLocale>
#include <QMenu>
#include <QMessageBox>
#include <QProgressDialog>
#include <QPushButton>
#include <QToolBar>
#include <QToolButton>
#include <QVBoxLayout>

namespace {

QToolButton *menuButton(const QString &text, QMenu *menu)
{
    auto *const button = new QToolButton;
    button->setText(text);
    button->setMenu(menu);
    button->setPopupMode(QToolButton::InstantPopup);
    menu->setParent(button, menu->windowFlags());
    return button;
}

} // namespace

mkRayViewPanel::mkRayViewPanel(mkRaySession *newSession, QWidget *parent)
    : QWidget(parent)
    , session(newSession)
    , tools(new QToolBar(this))
    , picture(new mkRayView(newSession, this))
    , status(new QLabel(this))
    , layers(new QLabel(this))
    , save(new QAction(tr("Save Picture…"), this))
    , render(new QAction(tr("Render Layers…"), this))
{
    setObjectName(QStringLiteral("rayViewPanel"));
    createActions();
    status->setObjectName(QStringLiteral("rayStatus"));
    status->setTextFormat(Qt::PlainText);
    layers->setObjectName(QStringLiteral("rayLayers"));
    layers->setTextFormat(Qt::PlainText);
    layers->setAlignment(Qt::AlignRight);
    layers->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    auto *const line = new QHBoxLayout;
    line->setContentsMargins(6, 2, 6, 2);
    line->addWidget(status);
    line->addWidget(layers, 1);
    auto *const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(tools);
    layout->addWidget(picture, 1);
    layout->addLayout(line);
    connect(picture, &mkRayView::progressed, this, &mkRayViewPanel::showStatus);
    connect(picture, &mkRayView::picked, this, &mkRayViewPanel::select);
    connect(session, &mkRaySession::sceneChanged, this, &mkRayViewPanel::showStatus);
}

void mkRayViewPanel::createActions()
{
    const QString group = tr("Ray-Traced View");
    mkShortcut::addKey(group, Qt::Key_A, Qt::NoModifier, tr("Frame All"));
    mkShortcut::addKey(group, Qt::Key_F, Qt::NoModifier, tr("Frame Selected"));
    const auto add = [this](const QString &text, const QString &toolTip, auto &&act) {
        auto *const action = new QAction(text, this);
        action->setToolTip(toolTip);
        connect(action, &QAction::triggered, this, act);
        tools->addAction(action);
        return action;
    };
    const auto frame = [&](const QString &text, const QString &toolTip, Qt::Key key,
                           bool selectedOnly) {
        QAction *const action = add(text, toolTip, [this, selectedOnly] {
            session->frame(selectedOnly, picture->aspect());
        });
        // Only in the view: elsewhere letters are typed.
        action->setShortcut(key);
        action->setShortcutContext(Qt::WidgetShortcut);
        picture->addAction(action);
    };
    frame(tr("All"), tr("Show everything (A)"), Qt::Key_A, false);
    frame(tr("Selected"), tr("Show what is selected (F)"), Qt::Key_F, true);
    tools->addWidget(menuButton(tr("Camera"), createCameraMenu()));
    tools->addWidget(menuButton(tr("Light"), createLightMenu()));

    auto *const exposure = new QDoubleSpinBox;
    exposure->setObjectName(QStringLiteral("rayExposure"));
    exposure->setRange(-20, 20);
    exposure->setDecimals(1);
    exposure->setSingleStep(0.5);
    exposure->setSuffix(tr(" EV"));
    exposure->setToolTip(tr("Exposure: each step of 1 doubles the light"));
    exposure->setFocusPolicy(Qt::ClickFocus);
    connect(exposure, QOverload<double>::of(&QDoubleSpinBox::valueChanged), session,
            [this](double stops) { session->setExposure(float(stops)); });
    tools->addWidget(exposure);

    QAction *const pause = add(tr("Pause"), tr("Stop tracing, or go on"),
                               [this](bool paused) { picture->setPaused(paused); });
    pause->setCheckable(true);
    auto *const pictures = new QMenu;
    pictures->addActions({ save, render });
    tools->addWidget(menuButton(tr("Pictures"), pictures));
    connect(save, &QAction::triggered, this, &mkRayViewPanel::savePicture);
    connect(render, &QAction::triggered, this, &mkRayViewPanel::renderLayers);
    save->setEnabled(false);
}

QMenu *mkRayViewPanel::createCameraMenu()
{
    auto *const menu = new QMenu;
    connect(menu, &QMenu::aboutToShow, this, [this, menu] { showCameras(menu); });
    return menu;
}

void mkRayViewPanel::showCameras(QMenu *menu)
{
    menu->clear();
    for (const mkRaySceneReader::View &view : mkRaySession::views()) {
        const QString name = view.name.isEmpty() ? tr("(without a name)") : view.name;
        menu->addAction(QString(name).replace(QLatin1Char('&'), QLatin1String("&&")), this,
                        [this, view] { session->lookThrough(view); });
    }
    if (menu->isEmpty()) {
        menu->addAction(tr("The scene has no cameras"))->setEnabled(false);
    }
}

QMenu *mkRayViewPanel::createLightMenu()
{
    auto *const menu = new QMenu;
    auto *const group = new QActionGroup(menu);
    const auto add = [&](const QString &text, mkRaySession::Light kind, auto &&act) {
        QAction *const action = menu->addAction(text, this, act);
        action->setCheckable(true);
        group->addAction(action);
        connect(menu, &QMenu::aboutToShow, action,
                [this, action, kind] { action->setChecked(session->light() == kind); });
    };
    using Light = mkRaySession::Light;
    add(tr("Studio"), Light::Studio, [this] { session->setLight(Light::Studio); });
    add(tr("Scene's Lights Only"), Light::None, [this] { session->setLight(Light::None); });
    add(tr("OpenEXR File…"), Light::File, [this] { chooseLightFile(); });
    return menu;
}

void mkRayViewPanel::chooseLightFile()
{
    const QString title = tr("Open Environment");
    const QString file = QFileDialog::getOpenFileName(this, title, QString(),
                                                      tr("OpenEXR pictures (*.exr)"));
    if (!file.isEmpty()) {
        try {
            session->setLightFile(file);
        } catch (const std::exception &failure) {
            report(title, failure);
        }
    }
}

void mkRayViewPanel::showStatus()
{
    const mkRayProgress &progress = picture->progress();
    const QSize size = picture->pictureSize();
    const QLocale locale;
    save->setEnabled(!progress.picture.isNull());
    status->setText(progress.picture.isNull()
                        ? QString()
                        : tr("%1 of %2 samples  ·  %3 s  ·  %4 × %5")
                              .arg(progress.samples)
                              .arg(mkRayView::samples)
                              .arg(locale.toString(double(progress.milliseconds) / 1000, 'f', 1))
                              .arg(size.width())
                              .arg(size.height()));
    const QStringList active = mkRayLayers::activeNames();
    layers->setText(active.isEmpty() ? tr("No layer is active")
                                     : tr("Active: %1").arg(active.join(QLatin1String(", "))));
    layers->setToolTip(layers->text());
}

void mkRayViewPanel::select(quint32 node, bool adding)
{
    std::vector<mkNodePtr> nodes;
    if (adding) {
        nodes = mkSelectionManager::getSelectedNodes();
    }
    const osg::NodePtr hit(osg::FieldContainerFactory::the()->getContainer(node));
    if (mkScenegraph::isInScene(hit)) {
        nodes.emplace_back(hit);
    }
    const mkScopedUndo undo(true);
    mkSelectionManager::selectNodes(nodes);
    if (!nodes.empty()) {
        mkScenegraph::scrollToNodes(nodes);
    }
}

void mkRayViewPanel::savePicture()
{
    const auto film = picture->renderer().film();
    if (!film) {
        return;
    }
    const QString title = tr("Save Picture");
    QString filter;
    QString file =
        QFileDialog::getSaveFileName(this, title, QString(),
                                     tr("PNG pictures (*.png);;OpenEXR pictures (*.exr)"), &filter);
    if (file.isEmpty()) {
        return;
    }
    const bool openExr = file.endsWith(QLatin1String(".exr"), Qt::CaseInsensitive);
    try {
        if (openExr) {
            mkWriteExr(file, { { QString(), film.get() } });
        } else {
            mkWritePng(file, *film, session->exposure());
        }
    } catch (const std::exception &failure) {
        report(title, failure);
    }
}

void mkRayViewPanel::renderLayers()
{
    mkRayLayersDialog dialog(this);
    if (dialog.exec() != QDialog::Accepted) {
        return;
    }
    try {
        std::vector<mkRayPictureJob::Picture> pictures;
        for (const mkRayLayers::Layer &layer : mkRayLayers::read()) {
            pictures.push_back({ layer.name, session->snapshot(layer) });
        }
        mkRayPictureJob::Settings settings;
        settings.camera = session->camera(QString());
        settings.size = dialog.pictureSize();
        settings.samples = dialog.samples();
        settings.exposure = session->exposure();
        mkRayPictureJob job = mkRayPictureJob::layers(dialog.directory(), dialog.openExr(),
                                                      std::move(pictures), settings);
        QProgressDialog progress(tr("Rendering layers…"), tr("Cancel"), 0, 1000, this);
        progress.setWindowTitle(dialog.windowTitle());
        progress.setWindowModality(Qt::ApplicationModal);
        progress.setMinimumDuration(300);
        progress.setAutoReset(false);
        job.run([&progress](float done) {
            progress.setValue(int(done * 1000));
            QCoreApplication::processEvents();
            return !progress.wasCanceled();
        });
    } catch (const std::exception &failure) {
        report(dialog.windowTitle(), failure);
    }
}

void mkRayViewPanel::report(const QString &title, const std::exception &failure)
{
    QMessageBox::warning(this, title, QString::fromUtf8(failure.what()));
}
