#include "SystemInformation.h"

SystemInformation::SystemInformation(QObject* parent)
    : QObject(parent)
{
}

SystemInformation::~SystemInformation() = default;
