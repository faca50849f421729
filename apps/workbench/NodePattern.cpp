#include "NodePattern.h"

#include "NodeKind.h"

#include <algorithm>

namespace {

QRegularExpression wildcardOf(const QString &text)
{
    if (!text.contains(QLatin1Char('*')) && !text.contains(QLatin1Char('?'))) {
        return {};
    }
    QString pattern = QRegularExpression::escape(text);
    pattern.replace(QLatin1String("\\*"), QLatin1String(".*"));
    pattern.replace(QLatin1String("\\?"), QLatin1String("."));
    return QRegularExpression(QRegularExpression::anchoredPattern(pattern),
                              QRegularExpression::CaseInsensitiveOption
                                  | QRegularExpression::DotMatchesEverythingOption);
}

} // namespace

NodePattern::NodePattern(const QString &text)
{
    static const QRegularExpression syntax(QStringLiteral(
                                               R"re((?:(kind|material):)?(?:"([^"]*)"?|(\S+)))re"),
                                           QRegularExpression::CaseInsensitiveOption);
    auto match = syntax.globalMatch(text);
    while (match.hasNext()) {
        const QRegularExpressionMatch found = match.next();
        const QString field = found.captured(1).toLower();
        const QString word = found.captured(2) + found.captured(3);
        if (!word.isEmpty()) {
            words.push_back({ field.isEmpty()                  ? Field::Name
                              : field == QLatin1String("kind") ? Field::Kind
                                                               : Field::Material,
                              word, wildcardOf(word) });
        }
    }
}

bool NodePattern::Word::fits(const QString &name) const
{
    return wildcard.pattern().isEmpty() ? name.contains(text, Qt::CaseInsensitive)
                                        : wildcard.match(name).hasMatch();
}

bool NodePattern::matches(const osg::NodePtr &node)
{
    QString name;
    return std::all_of(words.begin(), words.end(), [&](Word &word) {
        switch (word.field) {
        case Field::Kind:
            return searchWord(kindOf(node)).startsWith(word.text, Qt::CaseInsensitive);
        case Field::Material:
            return fitsMaterial(word, node);
        case Field::Name:
            break;
        }
        if (name.isNull()) {
            name = QString::fromStdString(node->getName());
        }
        return word.fits(name);
    });
}

bool NodePattern::matchesName(const QString &name) const
{
    return std::all_of(words.begin(), words.end(), [&name](const Word &word) {
        return word.field == Field::Kind || word.fits(name);
    });
}

bool NodePattern::fitsMaterial(Word &word, const osg::NodePtr &node)
{
    const osg::MaterialPtr material = materialOf(node);
    if (!material) {
        return false;
    }
    const auto [entry, isNew] = word.materials.emplace(material.get(), false);
    if (isNew) {
        entry->second = word.fits(QString::fromStdString(material->getName()));
    }
    return entry->second;
}
