#include "Console.h"

#include <editline/readline.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <stdexcept>

namespace client {
namespace {

constexpr auto kPace = std::chrono::seconds(25);  // well below the lobby's idle time-out

// What the line library calls has no place for an object: the one console of the process.
struct Typed {
    bool ended = false;
    bool complete = false;
    std::string line;
};
Typed s_typed;

void OnLine(char* line) {
    s_typed.ended = line == nullptr;
    s_typed.complete = true;
    s_typed.line = line ? line : "";
    std::free(line);
}

char* NextCommand(const char* begin, int state) {
    static std::vector<std::string> names;
    static size_t at;
    if (state == 0) {
        names = CommandNames();
        at = 0;
    }
    while (at < names.size()) {
        const std::string& name = names[at++];
        if (name.rfind(begin, 0) == 0) return strdup(name.c_str());
    }
    return nullptr;
}

char** Complete(const char* begin, int, int) {
    rl_attempted_completion_over = 1;  // no names of files
    return rl_completion_matches(begin, NextCommand);
}

// The terminal in the line library's hands. While something else is printed its line is taken away.
class Prompt {
  public:
    Prompt() {
        std::setlocale(LC_CTYPE, "");
        rl_readline_name = const_cast<char*>("lobby_client");
        rl_attempted_completion_function = Complete;
        rl_basic_word_break_characters = " ";
        rl_completion_append_character = ' ';
        using_history();
        Show();
    }
    ~Prompt() { Hide(); }
    Prompt(const Prompt&) = delete;
    Prompt& operator=(const Prompt&) = delete;

    void Show() {
        if (!m_shown) rl_callback_handler_install("lobby> ", OnLine);
        m_shown = true;
    }
    void Hide() {
        if (m_shown) rl_callback_handler_remove();
        m_shown = false;
    }
    // Before and after a line that comes while one is typed.
    static void Interrupt() {
        std::fputs("\r\x1b[K", stdout);
        std::fflush(stdout);
    }
    static void Resume() {
        rl_on_new_line();
        rl_forced_update_display();
    }

  private:
    bool m_shown = false;
};

class Console {
  public:
    Console(Player& player, const Manner& manner) : m_player(player), m_manner(manner) {}

    int Run() {
        if (isatty(STDIN_FILENO) && isatty(STDOUT_FILENO)) {
            AtTerminal();
        } else {
            for (std::string line; !m_quit && std::getline(std::cin, line);)
                Obey(line);
        }
        return m_failed ? 1 : 0;
    }

  private:
    void AtTerminal() {
        std::puts("Type help for the commands; TAB completes; quit ends.");
        Prompt prompt;
        m_player.OnPush([&](const Message& message) {
            if (!m_obeying) Prompt::Interrupt();
            ShowPush(message, m_manner);
            m_pushed = true;
        });
        auto nextKeepAlive = Clock::now() + kPace;
        while (!m_quit && !s_typed.ended) {
            Wait(nextKeepAlive);
            if (Clock::now() >= nextKeepAlive) {
                m_player.SendKeepAlive();
                nextKeepAlive = Clock::now() + kPace;
            }
            if (s_typed.complete) TakeLine(prompt);
        }
    }

    void Wait(Clock::time_point until) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(until - Clock::now());
        std::array<pollfd, 2> both{
            {{STDIN_FILENO, POLLIN, 0}, {m_player.Line().Handle(), POLLIN, 0}}};
        if (poll(both.data(), both.size(), static_cast<int>(std::max<long>(left.count(), 0))) < 0)
            return;
        if (both[0].revents != 0) rl_callback_read_char();
        if (both[1].revents == 0) return;
        m_pushed = false;
        m_player.Drain();
        if (m_pushed && !s_typed.complete) Prompt::Resume();
    }

    void TakeLine(Prompt& prompt) {
        s_typed.complete = false;
        prompt.Hide();
        if (!s_typed.line.empty()) add_history(s_typed.line.c_str());
        Obey(s_typed.line);
        if (!m_quit && !s_typed.ended) prompt.Show();
    }

    void Obey(const std::string& line) {
        const auto words = SplitLine(line);
        if (words.empty()) return;
        if (words[0] == "quit" || words[0] == "exit") {
            m_quit = true;
        } else if (words[0] == "help") {
            std::fputs(CommandHelp().c_str(), stdout);
        } else {
            m_obeying = true;
            RunSteps(words);
            m_player.Drain();  // what came with the last answer
            m_obeying = false;
        }
    }

    void RunSteps(const std::vector<std::string>& words) try {
        std::vector<Step> steps;
        std::string error;
        if (!Parse(words, steps, error)) throw TimedOut(error + "; help lists the commands");
        for (const Step& step : steps) {
            if (!client::Run(step, m_player, m_manner)) m_failed = true;
        }
    } catch (const TimedOut& failure) {
        std::printf("%s\n", failure.what());
        m_failed = true;
    }

    Player& m_player;
    const Manner& m_manner;
    bool m_quit = false;
    bool m_failed = false;
    bool m_obeying = false;  // a command runs: no line is being typed
    bool m_pushed = false;
};

// The terminal without echo, as long as it lives.
class Silence {
  public:
    explicit Silence(int fd) : m_fd(fd), m_valid(tcgetattr(fd, &m_before) == 0) {
        termios silent = m_before;
        silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        if (m_valid) tcsetattr(fd, TCSAFLUSH, &silent);
    }
    ~Silence() {
        if (m_valid) tcsetattr(m_fd, TCSAFLUSH, &m_before);
    }
    Silence(const Silence&) = delete;
    Silence& operator=(const Silence&) = delete;
    bool Valid() const { return m_valid; }

  private:
    int m_fd;
    termios m_before{};
    bool m_valid;
};

}  // namespace

int Interact(Player& player, const Manner& manner) {
    return Console(player, manner).Run();
}

std::vector<std::string> SplitLine(const std::string& line) {
    std::vector<std::string> words;
    char quote = 0;
    bool open = false;  // a word has begun
    for (const char c : line) {
        if (quote != 0 ? c == quote : c == '"' || c == '\'') {
            quote = quote != 0 ? 0 : c;
            if (!open) words.emplace_back();
            open = true;
        } else if (quote == 0 && (c == ' ' || c == '\t')) {
            open = false;
        } else {
            if (!open) words.emplace_back();
            open = true;
            words.back() += c;
        }
    }
    return words;
}

std::string AskSecret(const std::string& name) {
    const Silence silence(STDIN_FILENO);
    if (!silence.Valid()) throw std::runtime_error("no terminal to ask for " + name + " on");
    std::cerr << name << ": " << std::flush;
    std::string secret;
    std::getline(std::cin, secret);
    std::cerr << "\n";
    return secret;
}

}  // namespace client
