#include "tests/DesktopTest.h"

#include "tests/OwnAgents.h"

namespace kestrum {

void DesktopTest::initTestCase()
{
    skipAmongAgentsOfOthers();
    m_stage = std::make_unique<DesktopStage>();
    QVERIFY(m_stage->isUp());
    furnish();
}

void DesktopTest::cleanupTestCase()
{
    if (m_stage)
        clear();
    m_stage.reset();
}

} // namespace kestrum
