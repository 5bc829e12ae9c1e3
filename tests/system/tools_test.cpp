// lobby_client and lobby_load as one types them, against the real lobby.
#include <gmock/gmock.h>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>

#include "SystemTest.h"
#include "queue_server_msg.h"

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

namespace {

struct Ended {
    int status;
    std::string output;
};

// A shell's command; both of its outputs.
Ended Shell(const std::string& command) {
    FILE* pipe = popen(("{ " + command + "; } 2>&1").c_str(), "r");
    std::string output;
    for (int c; (c = std::fgetc(pipe)) != EOF;)
        output += static_cast<char>(c);
    return {WEXITSTATUS(pclose(pipe)), output};
}

// A program at a terminal of its own.
class Terminal {
  public:
    Terminal(const std::string& program, std::vector<std::string> words) {
        m_pid = forkpty(&m_fd, nullptr, nullptr, nullptr);
        if (m_pid != 0) return;
        setenv("TERM", "xterm", 1);
        const std::string path = TOOLS + program;
        std::vector<char*> argv{const_cast<char*>(path.c_str())};
        for (std::string& word : words)
            argv.push_back(word.data());
        argv.push_back(nullptr);
        execv(argv[0], argv.data());
        _exit(127);
    }
    ~Terminal() {
        kill(m_pid, SIGKILL);
        waitpid(m_pid, nullptr, 0);
        close(m_fd);
    }
    void Type(const std::string& text) {
        ASSERT_EQ(write(m_fd, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }
    // What was shown up to this text; all of it when it does not come.
    std::string Until(const std::string& text) {
        const auto end = Clock::now() + seconds(20);
        size_t at;
        while ((at = m_shown.find(text)) == std::string::npos) {
            pollfd one{m_fd, POLLIN, 0};
            char bytes[512];
            if (Clock::now() > end || poll(&one, 1, 1000) < 0) break;
            const ssize_t got = one.revents ? read(m_fd, bytes, sizeof(bytes)) : 0;
            if (got < 0) break;
            m_shown.append(bytes, static_cast<size_t>(got));
        }
        const std::string before =
            m_shown.substr(0, at == std::string::npos ? at : at + text.size());
        m_shown.erase(0, before.size());
        EXPECT_NE(at, std::string::npos) << "waited for " << text << ", saw " << before;
        return before;
    }
    int Status() {
        int status = 0;
        waitpid(m_pid, &status, 0);
        return WEXITSTATUS(status);
    }

  private:
    int m_fd = -1;
    pid_t m_pid = -1;
    std::string m_shown;
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
    Terminal terminal("lobby_client",
                      {"--port", std::to_string(port), "--user", "10001", "--bank-password", "-"});
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
    for (const std::string kind :
         {"-d 1 echo", "-d 1 cycle", "-d 1 idle", "logins", "-d 1 players", rounds.c_str()}) {
        const Ended load = Load("-n 20 --warmup 0 " + kind);
        EXPECT_EQ(load.status, 0) << kind << load.output;
    }
    EXPECT_THAT(Load("-n 2 -d 1 --warmup 0 players --mix take").output, HasSubstr("ran dry"));
    const Ended cut = Shell(TOOLS "lobby_load --help-all; timeout --foreground -s INT 3 " TOOLS
                                  "lobby_load -q -n 9 -d 60 -p " +
                            std::to_string(port) + " echo");
    EXPECT_THAT(cut.output, AllOf(HasSubstr("per_second"), HasSubstr("interrupted"),
                                  HasSubstr("of the random choices")));
    EXPECT_EQ(Load("echo --size 7").status, 2);
    EXPECT_EQ(Load("players --mix fly").status, 2);
    EXPECT_EQ(Load("--host nowhere echo").status, 2);
    EXPECT_EQ(Shell(TOOLS "platform_sim --fly").status, 2);
    EXPECT_EQ(Shell(TOOLS "platform_sim --accounts /nowhere").status, 3);
    EXPECT_EQ(Shell(TOOLS "lobby_client --port 1 --user 1 login").status, 3);
    EXPECT_EQ(Shell(TOOLS "lobby_load -p " + std::to_string(port) +
                    " --json /nowhere/x -d 1 --warmup 0 echo")
                  .status,
              3);
}

}  // namespace
