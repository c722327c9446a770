// The program's message box as the user meets it: the button set of each flag
// word with its texts (Italian built in, English from the shipped file) and
// the result of every button, Escape and the close button, the rich-text
// message and the width.

#include "EnglishTexts.h"
#include "OpenDialog.h"
#include "ui/controls/Dpi.h"
#include "ui/dialogs/MessageBox.h"
#include "util/Text.h"

#include <commctrl.h>
#include <richedit.h>

#include <gtest/gtest.h>


namespace {

// The program's message box, titled with the program's name.
class OpenBox : public OpenDialog {
public:
    OpenBox(uint32_t flags, uint32_t textId, const wchar_t* literal)
        : OpenDialog([=] { return ShowMessageBox(nullptr, flags, textId, literal); }, L"Ordalis", 0) {}
};

struct ButtonSet {
    uint32_t flags;
    std::vector<std::wstring> italian;
    std::vector<std::wstring> english;
    std::vector<int> results;
};

const std::vector<ButtonSet> kButtonSets = {
    {0x800, {L"&Continua", L"&Esci"}, {L"&Continue", L"&Quit"}, {10, 11}},
    {0x1000, {L"&S\u00EC", L"&No", L"Annulla"}, {L"&Yes", L"&No", L"Cancel"}, {6, 7, 2}},
    {0x2000, {L"OK", L"Annulla"}, {L"OK", L"Cancel"}, {1, 2}},
    {0x4000, {L"&S\u00EC", L"&No"}, {L"&Yes", L"&No"}, {6, 7}},
    {0, {L"OK"}, {L"OK"}, {1}},
};

std::vector<std::wstring> Texts(const std::vector<TestDriver::DialogButton>& buttons) {
    std::vector<std::wstring> texts;
    for (const auto& button : buttons) texts.push_back(button.text);
    return texts;
}

class MessageBoxTest : public ::testing::Test {
protected:
    void SetUp() override {
        INITCOMMONCONTROLSEX controls{sizeof controls, ICC_WIN95_CLASSES};
        InitCommonControlsEx(&controls);
        ResetTexts();
    }
    void TearDown() override { ResetTexts(); }
};

TEST_F(MessageBoxTest, EveryButtonOfEverySetEndsTheBoxWithItsResult) {
    for (bool english : {false, true}) {
        if (english) ASSERT_TRUE(LoadEnglishTexts());
        for (const ButtonSet& set : kButtonSets) {
            for (size_t chosen = 0; chosen < set.results.size(); ++chosen) {
                SCOPED_TRACE(testing::Message() << "flags 0x" << std::hex << set.flags << std::dec
                                                << " button " << chosen << (english ? " English" : ""));
                OpenBox box(set.flags, 0, L"Messaggio");
                ASSERT_NE(box.Dialog(), nullptr);
                auto buttons = TestDriver::DialogButtons(box.Dialog());
                EXPECT_EQ(Texts(buttons), english ? set.english : set.italian);
                ASSERT_EQ(buttons.size(), set.results.size());
                TestDriver::PressButton(box.Dialog(), buttons[chosen].id);
                EXPECT_EQ(box.Result(), set.results[chosen]);
            }
        }
    }
}

TEST_F(MessageBoxTest, EscapeAndTheCloseButtonCancelWhereTheSetAllowsIt) {
    struct Case {
        uint32_t flags;
        int escape;  // -1: the box stays open
    };
    for (Case c : {Case{0x1000, 2}, Case{0x2000, 2}, Case{0x4000, 7}, Case{0, 1}, Case{0x800, -1}}) {
        for (bool closeButton : {false, true}) {
            SCOPED_TRACE(testing::Message() << "flags 0x" << std::hex << c.flags
                                            << (closeButton ? " close button" : " Escape"));
            OpenBox box(c.flags | 0x2, 0, L"Domanda");
            ASSERT_NE(box.Dialog(), nullptr);
            if (closeButton) {
                PostMessageW(box.Dialog(), WM_SYSCOMMAND, SC_CLOSE, 0);
            } else {
                TestDriver::PressKey(box.Dialog(), VK_ESCAPE);
            }
            if (c.escape >= 0) {
                EXPECT_EQ(box.Result(), c.escape);
                continue;
            }
            EXPECT_EQ(box.Result(1500), -1) << "a box without a way to cancel must stay open";
            TestDriver::PressButton(box.Dialog(), 10);
            EXPECT_EQ(box.Result(), 10);
        }
    }
}

TEST_F(MessageBoxTest, MessageShowsBoldRunsAndParagraphsAndTheLanguageText) {
    OpenBox box(0x4, 0, L"Il file <b>Z:\\a.txt</b> non esiste.\r\nSecondo paragrafo.");
    ASSERT_NE(box.Dialog(), nullptr);
    HWND rich = nullptr;
    for (HWND child : TestDriver::ChildWindows(box.Dialog())) {
        if (_wcsicmp(TestDriver::WindowClass(child).c_str(), L"RichEdit20W") == 0) rich = child;
    }
    ASSERT_NE(rich, nullptr) << "the message is shown through the rich-edit control";
    GETTEXTEX request{};
    wchar_t buffer[256] = {};
    request.cb = sizeof buffer;
    request.flags = GT_DEFAULT;
    request.codepage = 1200;
    SendMessageW(rich, EM_GETTEXTEX, reinterpret_cast<WPARAM>(&request), reinterpret_cast<LPARAM>(buffer));
    EXPECT_EQ(std::wstring(buffer), L"Il file Z:\\a.txt non esiste.\rSecondo paragrafo.");
    EXPECT_EQ(SendMessageW(rich, EM_GETLINECOUNT, 0, 0), 2);

    auto boldAt = [rich](LONG start, LONG end) {
        SendMessageW(rich, EM_SETSEL, start, end);
        CHARFORMAT2W format{};
        format.cbSize = sizeof format;
        SendMessageW(rich, EM_GETCHARFORMAT, SCF_SELECTION, reinterpret_cast<LPARAM>(&format));
        return (format.dwMask & CFM_BOLD) && (format.dwEffects & CFE_BOLD);
    };
    EXPECT_FALSE(boldAt(0, 7)) << "Il file";
    EXPECT_TRUE(boldAt(8, 16)) << "Z:\\a.txt";
    EXPECT_FALSE(boldAt(17, 28)) << "non esiste.";

    RECT client{};
    GetClientRect(box.Dialog(), &client);
    EXPECT_EQ(client.right, ScaleForDpi(400, WindowDpi(box.Dialog())));
    TestDriver::PressButton(box.Dialog(), 1);
    EXPECT_EQ(box.Result(), 1);

    // With a language loaded, a string id shows the language's text.
    SetBuiltInTexts(false);
    SetText(300, L"File not found.");
    OpenBox english(0x1, 300, L"File non trovato.");
    ASSERT_NE(english.Dialog(), nullptr);
    EXPECT_EQ(TestDriver::MessageBoxMessage(english.Dialog()), L"File not found.");
    TestDriver::PressButton(english.Dialog(), 1);
    EXPECT_EQ(english.Result(), 1);
}

}  // namespace
