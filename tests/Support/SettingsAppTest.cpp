#include "tests/Support/SettingsAppTest.h"

namespace kestrum {

void SettingsAppTest::init()
{
    fixture().write("agentEnabled", "false");
    fixture().write("language", "\"en\"");
    fixture().turnToOther();
}

void SettingsAppTest::cleanup()
{
    m_window.reset();
    fixture().endSettingsApplications();
    fixture().endAgents();
}

} // namespace kestrum
