// SPDX-License-Identifier: MIT
#include "KestrumShared/Agent/PanelContract.h"

#include <QDBusMetaType>

namespace kestrum {

namespace {

template <class... Fields> QDBusArgument& writeStructure(QDBusArgument& argument, const Fields&... fields)
{
    argument.beginStructure();
    (argument << ... << fields);
    argument.endStructure();
    return argument;
}

template <class... Fields>
const QDBusArgument& readStructure(const QDBusArgument& argument, Fields&... fields)
{
    argument.beginStructure();
    (argument >> ... >> fields);
    argument.endStructure();
    return argument;
}

} // namespace

QDBusArgument& operator<<(QDBusArgument& argument, const PanelItem& item)
{
    return writeStructure(
        argument, item.id, item.x, item.width, item.text, item.pixelWidth, item.pixelHeight, item.pixels);
}

const QDBusArgument& operator>>(const QDBusArgument& argument, PanelItem& item)
{
    return readStructure(
        argument, item.id, item.x, item.width, item.text, item.pixelWidth, item.pixelHeight, item.pixels);
}

QDBusArgument& operator<<(QDBusArgument& argument, const PanelBand& band)
{
    return writeStructure(argument, band.top, band.rows, band.pixels);
}

const QDBusArgument& operator>>(const QDBusArgument& argument, PanelBand& band)
{
    return readStructure(argument, band.top, band.rows, band.pixels);
}

QDBusArgument& operator<<(QDBusArgument& argument, const PanelMenuEntry& entry)
{
    return writeStructure(argument, entry.id, entry.title, entry.isEnabled);
}

const QDBusArgument& operator>>(const QDBusArgument& argument, PanelMenuEntry& entry)
{
    return readStructure(argument, entry.id, entry.title, entry.isEnabled);
}

void PanelContract::registerTypes()
{
    qDBusRegisterMetaType<PanelItem>();
    qDBusRegisterMetaType<QList<PanelItem>>();
    qDBusRegisterMetaType<PanelBand>();
    qDBusRegisterMetaType<QList<PanelBand>>();
    qDBusRegisterMetaType<PanelMenuEntry>();
    qDBusRegisterMetaType<QList<PanelMenuEntry>>();
}

} // namespace kestrum
