// SPDX-License-Identifier: GPL-3.0-or-later
// A machine that has no thread left: pthread_create is replaced for this program alone.
#include <gtest/gtest.h>
#include <pthread.h>

#include <cerrno>

#include "tests/batch/dialogs/dialog_fixture.h"

extern "C" int pthread_create(pthread_t* /*thread*/, const pthread_attr_t* /*attributes*/,
                              void* (* /*routine*/)(void*), void* /*argument*/) {
    return EAGAIN;
}

namespace vistrel {
namespace {

using BatchWithoutThreads = test::DialogFixture;

TEST_F(BatchWithoutThreads, IsOverAtOnce) {
    AddPictures(1);
    Start();
    EXPECT_FALSE(BatchDialog::AnyRunning());
    EXPECT_TRUE(Button(BatchControlId::Start)->isEnabled());
    EXPECT_FALSE(Button(BatchControlId::Close)->isHidden());
    EXPECT_EQ(Status(), L"Ready");
    EXPECT_EQ(OutputCount(), 0U);
}

}  // namespace
}  // namespace vistrel
