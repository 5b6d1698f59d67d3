/*
 * A main frame created in the test's own thread over a temporary data
 * folder, with the settings it needs seeded in the registry.
 */
#ifndef PELNOR_TEST_FRAME_FIXTURE_H
#define PELNOR_TEST_FRAME_FIXTURE_H

#include <gtest/gtest.h>

#include <windows.h>

#include <functional>

#include "shell/app_frame.h"
#include "support/gui_helper.h"
#include "support/temp_folder.h"

class FrameFixture : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    /* Seeds the four start-up settings with `data_path` and creates the
     * frame; null when creation stopped. */
    HWND Start(const std::wstring &data_path);
    HWND Start() { return Start(data_.path()); }

    /* A menu command (code 0) or accelerator (code 1) sent to the frame. */
    void Command(UINT id, UINT code = 0);

    /* Dispatches messages, keys through table 131 as the program's loop does. */
    bool Pump(const std::function<bool()> &done);

    TempFolder data_;
    AppFrame frame_;
    ModalWatcher watcher_;
};

#endif
