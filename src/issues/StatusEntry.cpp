#include "StatusEntry.h"

StatusEntry::StatusEntry(QObject* parent)
    : QObject(parent)
{
}

StatusEntry::~StatusEntry() = default;
