#include "IDeskDuplManager.h"

IDeskDuplManager::IDeskDuplManager(QObject *parent)
    : QObject(parent)
{
}

IDeskDuplManager::~IDeskDuplManager() = default;
