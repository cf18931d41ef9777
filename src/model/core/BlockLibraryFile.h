#pragma once

#include "BlockLibraryContainer.h"
#include "zkblockmodel_export.h"

#include <QString>

// A library container that is kept in a file of its own beside the project.
class ZK_MODEL_EXPORT BlockLibraryFile : public BlockLibraryContainer
{
    Q_OBJECT
public:
    BlockLibraryFile(const QString& identifier, unsigned int kind, const Text& name, const QString& filePath,
                     QObject* parent = nullptr);
    ~BlockLibraryFile() override;

    QString filePath() const { return m_filePath; }
    void setFilePath(const QString& path) { m_filePath = path; }

private:
    QString m_filePath;
};
