#include "Simulation.h"

#include <algorithm>
#include <utility>

namespace corvane::test {

Simulation &Simulation::instance()
{
    static Simulation simulation;
    return simulation;
}

void Simulation::reset()
{
    const std::lock_guard lock(m_mutex);
    m_script = {};
    m_calls.clear();
}

void Simulation::attachDisplay(unsigned int id, const QRectF &bounds)
{
    const std::lock_guard lock(m_mutex);
    m_script.displays.push_back({id, bounds});
}

void Simulation::setScreens(const QVector<std::optional<unsigned int>> &numbers)
{
    const std::lock_guard lock(m_mutex);
    m_script.screens = numbers;
}

void Simulation::setPermission(bool granted, bool grantedOnRequest)
{
    const std::lock_guard lock(m_mutex);
    m_script.permissionIsGranted = granted;
    m_script.permissionIsGrantedOnRequest = grantedOnRequest;
}

void Simulation::fail(const QString &name, int nth, int status)
{
    const std::lock_guard lock(m_mutex);
    m_script.failures.insert(name, {nth, status});
}

void Simulation::onCall(const QString &name, const std::function<void()> &action)
{
    const std::lock_guard lock(m_mutex);
    m_script.actions.insert(name, action);
}

void Simulation::keepFormerDelegates(bool keep)
{
    const std::lock_guard lock(m_mutex);
    m_script.keepsFormerDelegates = keep;
}

QStringList Simulation::takeCalls()
{
    const std::lock_guard lock(m_mutex);
    return std::exchange(m_calls, {});
}

int Simulation::call(const QString &name, const QString &arguments)
{
    std::unique_lock lock(m_mutex);
    m_calls << (arguments.isEmpty() ? name : name + ' ' + arguments);
    const int status = failure(name);
    const auto action = m_script.actions.value(name);
    lock.unlock();
    if (action)
        action();
    return status;
}

int Simulation::failure(const QString &name)
{
    const auto scripted = m_script.failures.find(name);
    if (scripted == m_script.failures.end())
        return 0;
    if (scripted->nth == 0)
        return scripted->status;
    if (--scripted->nth > 0)
        return 0;
    const int status = scripted->status;
    m_script.failures.erase(scripted);
    return status;
}

std::vector<unsigned int> Simulation::displays() const
{
    const std::lock_guard lock(m_mutex);
    std::vector<unsigned int> ids;
    for (const Display &display : m_script.displays)
        ids.push_back(display.id);
    return ids;
}

std::optional<QRectF> Simulation::bounds(unsigned int display) const
{
    const std::lock_guard lock(m_mutex);
    const auto &displays = m_script.displays;
    const auto found =
        std::find_if(displays.begin(), displays.end(),
                     [=](const Display &candidate) { return candidate.id == display; });
    if (found == displays.end())
        return {};
    return found->bounds;
}

QVector<std::optional<unsigned int>> Simulation::screens() const
{
    const std::lock_guard lock(m_mutex);
    return m_script.screens;
}

bool Simulation::isPermissionGranted() const
{
    const std::lock_guard lock(m_mutex);
    return m_script.permissionIsGranted;
}

bool Simulation::grantedOnRequest()
{
    const std::lock_guard lock(m_mutex);
    m_script.permissionIsGranted = m_script.permissionIsGrantedOnRequest;
    return m_script.permissionIsGranted;
}

bool Simulation::keepsFormerDelegates() const
{
    const std::lock_guard lock(m_mutex);
    return m_script.keepsFormerDelegates;
}

} // namespace corvane::test
