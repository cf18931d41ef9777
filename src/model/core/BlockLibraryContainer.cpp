#include "BlockLibraryContainer.h"

#include "BlockLibrary.h"

BlockLibraryContainer::BlockLibraryContainer(const QString& identifier, unsigned int kind, const Text& name,
                                             QObject* parent)
    : QObject(parent)
    , m_identifier(identifier)
    , m_kind(kind)
    , m_name(name)
    , m_library(new BlockLibrary(this))
{
    m_library->setParent(this);
}

BlockLibraryContainer::~BlockLibraryContainer()
{
    delete m_library;
    m_library = nullptr;
}

Text BlockLibraryContainer::name() const
{
    return m_name;
}

QString BlockLibraryContainer::identifier() const
{
    return m_identifier;
}

unsigned int BlockLibraryContainer::containerKind() const
{
    return m_kind;
}

bool BlockLibraryContainer::isLocal() const
{
    return m_kind == LocalContainerKind;
}
