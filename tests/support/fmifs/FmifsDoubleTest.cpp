// The fmifs.dll double, loaded and called the way Ordalis calls the system's.

#include "TestDriver.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

using FmifsCallback = BOOLEAN(WINAPI*)(DWORD command, DWORD subAction, PVOID actionInfo);
using ChkdskFunction = VOID(WINAPI*)(PWCHAR, PWCHAR, BOOL, BOOL, BOOL, BOOL, PVOID, PVOID,
                                     FmifsCallback);

struct Event {
    DWORD command;
    DWORD percent = 0;
    DWORD lines = 0;
    std::string text;
    BOOLEAN success = FALSE;
    bool operator==(const Event&) const = default;
};

std::vector<Event> gEvents;
BOOLEAN gAnswer = TRUE;

BOOLEAN WINAPI Record(DWORD command, DWORD subAction, PVOID actionInfo) {
    Event event{command, 0, 0, {}, FALSE};
    if (command == 0) {
        event.percent = *static_cast<DWORD*>(actionInfo);
    } else if (command == 11) {
        event.success = *static_cast<BOOLEAN*>(actionInfo);
    } else if (command == 14) {
        struct TextOutput {
            DWORD lines;
            char* output;
        };
        auto* output = static_cast<TextOutput*>(actionInfo);
        event.lines = output->lines;
        event.text = output->output;
    }
    gEvents.push_back(event);
    return gAnswer;
}

Event Progress(DWORD percent) { return {0, percent, 0, {}, FALSE}; }
Event Text(std::string text) { return {14, 0, 1, std::move(text), FALSE}; }
Event Done(BOOLEAN success) { return {11, 0, 0, {}, success}; }

class FmifsDouble : public testing::Test {
protected:
    static void SetUpTestSuite() {
        gLibrary = LoadLibraryW(TestDriver::HostPathToWindows(ORDALIS_FMIFS_DLL).c_str());
    }

    void SetUp() override {
        ASSERT_NE(gLibrary, nullptr) << "the double needs no DLL beyond the system's";
        chkdsk_ = reinterpret_cast<ChkdskFunction>(
            reinterpret_cast<void*>(GetProcAddress(gLibrary, "Chkdsk")));
        ASSERT_NE(chkdsk_, nullptr) << "exported undecorated, as the program looks it up";
        gEvents.clear();
        gAnswer = TRUE;
        SetEnvironmentVariableW(L"ORDALIS_FMIFS_SCRIPT", nullptr);
        SetEnvironmentVariableW(L"ORDALIS_FMIFS_LOG", nullptr);
    }

    std::vector<Event> Check(const wchar_t* root, const wchar_t* script) {
        SetEnvironmentVariableW(L"ORDALIS_FMIFS_SCRIPT", script);
        std::wstring rootText = root;
        wchar_t fileSystem[] = L"NTFS";
        gEvents.clear();
        chkdsk_(rootText.data(), fileSystem, FALSE, FALSE, FALSE, FALSE, nullptr, nullptr, Record);
        return gEvents;
    }

    static HMODULE gLibrary;
    ChkdskFunction chkdsk_ = nullptr;
};

HMODULE FmifsDouble::gLibrary = nullptr;

TEST_F(FmifsDouble, UnscriptedDriveOnlyReportsSuccess) {
    EXPECT_EQ(Check(L"C:\\", nullptr), std::vector<Event>{Done(TRUE)});
    EXPECT_EQ(Check(L"C:\\", L"D:result=fail"), std::vector<Event>{Done(TRUE)});
}

TEST_F(FmifsDouble, PlaysFieldsInWrittenOrderAndClosesLast) {
    std::vector<Event> expected = {Progress(10),         Progress(50),
                                   Text("Checking files\r\n"), Text("No problems found\r\n"),
                                   Progress(100),        Done(TRUE)};
    EXPECT_EQ(Check(L"C:\\",
                    L"C:progress=10,50;text=Checking files|No problems found;progress=100"),
              expected);
    // "result" may stand anywhere: the closing report is always the last one.
    EXPECT_EQ(Check(L"c:\\", L"C:result=ok;progress=100"),
              (std::vector<Event>{Progress(100), Done(TRUE)}));
}

TEST_F(FmifsDouble, PicksTheEntryOfTheDriveAmongSeveral) {
    const wchar_t* script =
        L"C:text=Drive C: is fine;result=ok D:result=fail\r\n"
        L"*:text=any other drive;result=none";
    EXPECT_EQ(Check(L"C:\\", script),
              (std::vector<Event>{Text("Drive C: is fine\r\n"), Done(TRUE)}));
    EXPECT_EQ(Check(L"D:\\", script), std::vector<Event>{Done(FALSE)});
    EXPECT_EQ(Check(L"E:\\", script), std::vector<Event>{Text("any other drive\r\n")});
}

TEST_F(FmifsDouble, MistypedFieldFailsTheCheckVisibly) {
    std::vector<Event> events = Check(L"C:\\", L"C:progres=10");
    ASSERT_EQ(events.size(), 2u);
    EXPECT_EQ(events[0].command, 14u);
    EXPECT_NE(events[0].text.find("progres=10"), std::string::npos) << events[0].text;
    EXPECT_EQ(events[1], Done(FALSE));

    events = Check(L"C:\\", L"C:progress=10,x");
    ASSERT_FALSE(events.empty());
    EXPECT_EQ(events.back(), Done(FALSE));
}

TEST_F(FmifsDouble, CallbackAnsweringFalseStopsTheCheck) {
    gAnswer = FALSE;
    EXPECT_EQ(Check(L"C:\\", L"C:progress=10,50,100"), std::vector<Event>{Progress(10)});
}

TEST_F(FmifsDouble, DelayIsKeptBeforeEveryReport) {
    DWORD start = GetTickCount();
    Check(L"C:\\", L"C:delay=100;progress=50,100");
    EXPECT_GE(GetTickCount() - start, 280u);  // three reports, with slack for the tick
}

TEST_F(FmifsDouble, LogsEveryCallWithItsArguments) {
    std::wstring folder = TestDriver::HostPathToWindows(ORDALIS_TEST_WORK_DIR);
    CreateDirectoryW(folder.c_str(), nullptr);
    std::wstring log = folder + L"\\fmifs.log";
    DeleteFileW(log.c_str());
    SetEnvironmentVariableW(L"ORDALIS_FMIFS_LOG", log.c_str());

    wchar_t root[] = L"D:\\";
    wchar_t fileSystem[] = L"FAT32";
    chkdsk_(root, fileSystem, TRUE, FALSE, TRUE, FALSE, nullptr, nullptr, Record);
    Check(L"C:\\", nullptr);

    std::ifstream file(std::filesystem::path(log), std::ios::binary);
    std::stringstream content;
    content << file.rdbuf();
    EXPECT_EQ(content.str(),
              "Chkdsk root=D:\\ fs=FAT32 fix=1 verbose=0 dirtyonly=1 scan=0 reserved=0,0 "
              "callback=1\r\n"
              "Chkdsk root=C:\\ fs=NTFS fix=0 verbose=0 dirtyonly=0 scan=0 reserved=0,0 "
              "callback=1\r\n");
}

}  // namespace
