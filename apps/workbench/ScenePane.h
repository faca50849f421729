#pragma once

#include "NodeFilter.h"
#include "SceneSearch.h"
#include "mkOpenSGUtils/mkNodePtr.h"

#include <QTimer>
#include <QWidget>

class QLabel;
class QStackedWidget;
class SceneTree;
class SceneWatcher;
class SearchField;

/// The scene tree below a field to search in it. What a search finds is shown in a tree of its own,
/// so that the scene tree is as it was when the search ends.
class ScenePane : public QWidget
{
    Q_OBJECT

public:
    explicit ScenePane(SceneWatcher *watcher, QWidget *parent = nullptr);

    /// Puts the keyboard into the search field.
    void beginSearch();

private:
    void offerWords();
    void search();
    void searchAgain();
    void showFound(const NodeFilterPtr &filter, int visited);
    void reveal(const std::vector<mkNodePtr> &nodes);
    void leaveField();

    SceneSearch finder;
    SearchField *field;
    QLabel *note;
    QStackedWidget *trees;
    SceneTree *all;
    SceneTree *found;
    /// What `found` shows; null without a search.
    NodeFilterPtr shown;
    /// Collects changes of the scene before it searches once more.
    QTimer again;
};
