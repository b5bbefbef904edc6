#include "tests/SettingsAppTest.h"

namespace kestrum {

void SettingsAppTest::init()
{
    stage().write("agentEnabled", "false");
    stage().write("language", "\"en\"");
    stage().turnToOther();
}

void SettingsAppTest::cleanup()
{
    m_window.reset();
    stage().endSettingsApplications();
    stage().endAgents();
}

} // namespace kestrum
