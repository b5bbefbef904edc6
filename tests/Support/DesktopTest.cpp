#include "tests/Support/DesktopTest.h"

#include "tests/Support/OwnAgents.h"

namespace kestrum {

void DesktopTest::initTestCase()
{
    skipAmongAgentsOfOthers();
    m_fixture = std::make_unique<DesktopFixture>();
    QVERIFY(m_fixture->isUp());
    furnish();
}

void DesktopTest::cleanupTestCase()
{
    if (m_fixture)
        clear();
    m_fixture.reset();
}

} // namespace kestrum
