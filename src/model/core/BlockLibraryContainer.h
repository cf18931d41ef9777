#pragma once

#include "Text.h"
#include "zkblockmodel_export.h"

#include <QObject>
#include <QString>

class BlockLibrary;

// One place that a library comes from. Kinds below 256 are the standard libraries shipped with the
// suite, 256 user libraries, 257 internal libraries; local blocks of a definition have a container
// of their own (LocalContainerKind).
class ZK_MODEL_EXPORT BlockLibraryContainer : public QObject
{
    Q_OBJECT
public:
    static constexpr unsigned int UserLibraryKind = 256;
    static constexpr unsigned int InternalLibraryKind = 257;
    static constexpr unsigned int LocalContainerKind = 258;

    BlockLibraryContainer(const QString& identifier, unsigned int kind, const Text& name, QObject* parent = nullptr);
    ~BlockLibraryContainer() override;

    BlockLibrary* library() const { return m_library; }

    virtual Text name() const;
    virtual QString identifier() const;
    virtual unsigned int containerKind() const;
    virtual bool isLocal() const;

    void setName(const Text& name) { m_name = name; }

private:
    QString m_identifier;
    unsigned int m_kind;
    Text m_name;
    BlockLibrary* m_library;
};
