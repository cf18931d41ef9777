#include "BlockLibraryFile.h"

BlockLibraryFile::BlockLibraryFile(const QString& identifier, unsigned int kind, const Text& name,
                                   const QString& filePath, QObject* parent)
    : BlockLibraryContainer(identifier, kind, name, parent)
    , m_filePath(filePath)
{
}

BlockLibraryFile::~BlockLibraryFile() = default;
