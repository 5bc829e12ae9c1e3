// lobby_client and lobby_load as one types them, against the real lobby.
#include <gmock/gmock.h>
#include <sys/stat.h>

#include "SystemTest.h"
#include "queue_server_msg.h"

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

namespace {

// A command at a terminal of its own.
class Terminal {
  public:
    explicit Terminal(const std::string& command) {
        const std::string keys = m_process.Directory() / "keys";
        EXPECT_EQ(mkfifo(keys.c_str(), 0600), 0);
        m_process.Start(
            {"sh", "-c", "TERM=xterm exec script -qfec '" + command + "' /dev/null <" + keys});
        m_keys.open(keys);
    }
    void Type(const std::string& text) { m_keys << text << std::flush; }
    // What was shown up to this text, since the last call; all of it when it does not come.
    std::string Until(const std::string& text) {
        std::string shown;
        EXPECT_TRUE(Eventually([&] {
            shown = m_process.Said("stdout").substr(m_seen);
            return Has(shown, text);
        })) << "waited for "
            << text << ", saw " << shown;
        shown.resize(std::min(shown.size(), shown.find(text) + text.size()));
        m_seen += shown.size();
        return shown;
    }
    std::optional<int> Status() { return m_process.AwaitEnd(); }

  private:
    ChildProcess m_process;
    std::ofstream m_keys;
    size_t m_seen = 0;
};

class ToolsTest : public SystemTest {
  protected:
    ToolsTest() { Serve(); }
    std::string Client(int user) {
        return TOOLS "lobby_client --port " + std::to_string(port) + " --user " +
               std::to_string(user) + " ";
    }
    Ended Load(const std::string& words) {
        return Shell(TOOLS "lobby_load -q -p " + std::to_string(port) + " " + words);
    }
};

// "face 4294967297" used to set face 1 and to say success; an exchange went to a receiver that was
// cut in the same way.
TEST_F(ToolsTest, NumbersThatDoNotFitAreWrongUseAndNothingIsSent) {
    for (const char* words :
         {"face 4294967297", "exchange 4294977298 5", "take 9223372036854775808", "activity 1 2 x",
          "fly", "wait -2147483649"}) {
        EXPECT_EQ(Shell(Client(10001) + "login " + words).status, 2) << words;
    }
    EXPECT_EQ(CountSeen(ServerKind::Queue, USER_INFO_L2Q), 0u);
}

TEST_F(ToolsTest, RefusalsSayWhyAndSecretsComeFromTheEnvironment) {
    const Ended words = Shell(Client(10001) + "login take 0");
    EXPECT_EQ(words.status, 1);
    EXPECT_THAT(words.output, HasSubstr("(The amount must be at least 1.)"));
    setenv("LOBBY_TOKEN", "bad", 1);
    const Ended piped = Shell("printf 'login\\ntake x\\n' | " + Client(10002) + "--json");
    unsetenv("LOBBY_TOKEN");
    EXPECT_EQ(piped.status, 1);
    EXPECT_THAT(piped.output,
                AllOf(HasSubstr(R"({"type":"0x00A6")"), HasSubstr("The token is wrong."),
                      HasSubstr("x is not a number")));
}

TEST_F(ToolsTest, AtATerminalLinesAreEditedWhilePushesShow) {
    Terminal terminal(Client(10001) + "--bank-password -");
    terminal.Until("Bank password: ");
    terminal.Type("888888\n");
    EXPECT_THAT(terminal.Until("lobby> "), Not(HasSubstr("888888")));
    terminal.Type("login\n");
    terminal.Until("LobbyAuthenRes ucErrNo=0");
    terminal.Until("lobby> ");
    terminal.Type("bank-l");
    terminal.Until("bank-l");
    platform.DoCommand("bulletin sys Half a line stays");
    terminal.Until("Half a line stays");
    terminal.Until("bank-l");  // what was typed stands again
    terminal.Type("\t\n");
    terminal.Until("LoginBankResult ucResultType=0");
    terminal.Type("face 4294967297\nnickname \"two words\"\n");
    terminal.Until("is not a number");
    terminal.Until("szNickName=\"two words\"");
    terminal.Type("\x1b[A\n");  // the last line again
    terminal.Until("szNickName=\"two words\"");
    terminal.Type("quit\n");
    EXPECT_EQ(terminal.Status(), 1);  // one command was refused
}

TEST_F(ToolsTest, LoadOfEveryKindSucceedsAndSaysWhenItCannot) {
    const auto control = platform.Do([&] {
        platform.TheWorld().AddPlayers(20001, 20);
        return platform.OpenControl(0);
    });
    const std::string rounds = "bulletins --rounds 1 --control " + std::to_string(control);
    for (const std::string kind : {"-d 0.2 echo", "-d 0.2 cycle", "-d 0.2 idle", "logins",
                                   "-d 0.2 players", rounds.c_str()}) {
        const Ended load = Load("-n 20 --warmup 0 " + kind);
        EXPECT_EQ(load.status, 0) << kind << load.output;
    }
    EXPECT_THAT(Load("-n 2 -d 0.2 --warmup 0 players --mix take").output, HasSubstr("ran dry"));
    const Ended cut = Shell(TOOLS "lobby_load --help-all; timeout --foreground -s INT 1.5 " TOOLS
                                  "lobby_load -q -n 9 -d 60 --warmup 0 -p " +
                            std::to_string(port) + " echo");
    EXPECT_THAT(cut.output, AllOf(HasSubstr("per_second"), HasSubstr("interrupted"),
                                  HasSubstr("of the random choices")));
    EXPECT_EQ(Load("echo --size 7").status, 2);
    EXPECT_EQ(Load("players --mix fly").status, 2);
    EXPECT_EQ(Load("--host nowhere echo").status, 2);
    EXPECT_EQ(Shell(TOOLS "platform_sim --fly").status, 2);
    EXPECT_EQ(Shell(TOOLS "platform_sim --accounts /nowhere").status, 3);
    EXPECT_EQ(Shell(TOOLS "lobby_client --port 1 --user 1 login").status, 3);
    EXPECT_EQ(Load("--json /nowhere/x -d 0.1 --warmup 0 echo").status, 3);
}

}  // namespace
