#pragma once

#include "OSGSystem/FieldVisitor.h"
#include "mkSceneFile/mkSceneFile.h"

#include <QCborStreamReader>
#include <QSet>

#include <unordered_map>
#include <unordered_set>

/// Reads the content of one scene file.
class mkSceneReader : private osg::FieldVisitor
{
public:
    /// `data` outlives the reader.
    explicit mkSceneReader(const QByteArray &data);

    /// To be called once; mkSceneFile::parse() says what it throws.
    mkSceneFile::Read read(const mkSceneFile::Progress &progress);

private:
    /// A type as the file declares it.
    struct Type
    {
        QString name;
        /// Null for one that this program does not know.
        const osg::FieldContainerType *known = nullptr;
        std::vector<std::string> fields;
        std::unordered_map<std::string, std::size_t> places;
    };
    struct Container
    {
        osg::FieldContainerPtr handle;
        /// How many containers hold one another from here on, other than nodes their children.
        unsigned depth = 0;
    };

    void readHeader();
    void readType();
    void readContainer();
    void readRoot(mkSceneFile::Read &result) const;
    void skipTo(std::size_t target);
    void reportSkipped() const;

    bool isReading() const override { return true; }
    void refuse() override;
    void require(bool fact)
    {
        if (!fact) {
            refuse();
        }
    }
    bool find(const char *name);
    std::size_t enterArray();
    std::uint32_t number();
    std::string text();
    QByteArray bytes();
    osg::FieldContainerPtr reference(const osg::FieldContainerType &wanted);

    void field(const char *name, std::uint32_t &value) override;
    void field(const char *name, bool &value) override;
    void field(const char *name, float &value) override;
    void field(const char *name, std::string &value) override;
    void field(const char *name, std::vector<std::string> &values) override;
    void field(const char *name, QByteArray &value) override;
    void ids(const char *name, std::vector<std::uint32_t> &values,
             const osg::FieldContainerType &wanted) override;
    bool block(const char *name, QByteArray &value) override;
    void handle(const char *name, osg::FieldContainerPtr &value,
                const osg::FieldContainerType &wanted) override;
    void handles(const char *name, std::vector<osg::FieldContainerPtr> &values,
                 const osg::FieldContainerType &wanted) override;

    const QByteArray &data;
    QCborStreamReader cbor;
    std::vector<Type> types;
    std::vector<Container> containers;
    /// What fields keep as plain numbers.
    std::unordered_set<std::uint32_t> keptIds;
    QSet<QString> skipped;
    /// The container that is being read: its type, the place of its next field, its depth.
    const Type *type = nullptr;
    std::size_t place = 0;
    unsigned depth = 0;
};
