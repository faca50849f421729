#pragma once

#include "OSGSystem/Node.h"

#include <QRegularExpression>
#include <QString>

#include <unordered_map>
#include <vector>

/// What a search field asks for: words, all of which must fit. A word fits a name that holds it, in
/// upper or lower case; one with * or ? must fit the whole name. "kind:" and "material:" before a
/// word ask for the kind of a node and for the material of a mesh. Quotes hold blanks together.
class NodePattern
{
public:
    explicit NodePattern(const QString &text = {});

    /// True when there is nothing to look for.
    bool isEmpty() const { return words.empty(); }
    bool matches(const osg::NodePtr &node);
    /// The words for names only, since a name is all that there is.
    bool matchesName(const QString &name) const;

private:
    enum class Field { Name, Kind, Material };
    struct Word
    {
        Field field;
        QString text;
        /// Valid and not empty where the text has wildcards.
        QRegularExpression wildcard;
        /// Whether it fits the materials that it has been asked about.
        std::unordered_map<const osg::FieldContainer *, bool> materials{};

        bool fits(const QString &name) const;
    };

    static bool fitsMaterial(Word &word, const osg::NodePtr &node);

    std::vector<Word> words;
};
