#include <gmock/gmock.h>
#include <sys/wait.h>

#include "ConfigCheck.h"
#include "Files.h"

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;

const fs::path kTree = SOURCE_TREE;

class Check : public testing::Test {
  protected:
    Check() { Restore(); }

    void Write(const std::string& name, const std::string& text) {
        WriteFile(m_directory / name, text);
    }
    void Restore() {
        for (const ConfigFile& file : kConfigFiles)
            Write(file.name, ReadFile(kTree / "deploy/config" / file.name));
    }
    // Puts `to` in the place of `from`, with which a line of one of the files must begin.
    void Change(const std::string& from, const std::string& to) {
        for (const ConfigFile& file : kConfigFiles) {
            std::string text = ReadFile(m_directory / file.name);
            const size_t at = ("\n" + text).find("\n" + from);
            if (at == std::string::npos) continue;
            return Write(file.name, text.replace(at, from.size(), to));
        }
        FAIL() << "no such line: " << from;
    }
    std::vector<std::string> Problems() const {
        std::vector<std::string> lines;
        for (const check::Problem& problem : check::CheckDirectory(m_directory))
            lines.push_back(TextOf(problem));
        return lines;
    }
    int Run(const std::string& arguments) const {
        const std::string command = std::string(LOBBY_CHECK_BINARY) + " " + arguments + " >" +
                                    (m_directory / "out").string() + " 2>&1";
        const int status = std::system(command.c_str());
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    const TempFolder m_folder;
    const fs::path m_directory = m_folder.Path();
};

TEST_F(Check, OneFaultOneProblem) {
    const std::string longText(32, 'a');
    const struct {
        std::string from, to, problem;  // part of the only one; empty: none
    } kRows[] = {
        {"interval=20", "interval=20 ; s", "not a whole number: \"20 ; s\""},
        {"interval=20", "interval=-2", "-2 is out of range: -1 to 86400"},
        {"interval=20", "interval=0", "0 searches without a pause"},
        {"MAX_SEND_COUNT=12288", "MAX_SEND_COUNT=2", "2 closes every connection at once"},
        {"MAX_RECV_COUNT=8192", "MAX_RECV_COUNT=1", "1 closes every connection at once"},
        {";trusted_proxies=", "trusted_proxies=0.0.0.0/0,", "trusts everybody"},
        {"timeout=120", "timeout=99999999999999999999", "not a whole number"},
        {"maxconnection=4900", "maxconnection=4999", "4999 is too much: at 5000"},
        {"maxconnection=4900", "", "missing, and its default 10000 is too"},
        {"interval=20", "intervall=20", "\"intervall\": unknown key; is \"interval\" meant?"},
        {"[init]", "[init]\nmaxconnection=9", "unknown key; it belongs to section [listen]"},
        {"interval=20", "interval 20", "without an equals sign"},
        {"wakeup=1", "wakeup=1\nINTERVAL=9", "\"INTERVAL\": repeated; only"},
        {"[init]", "[init", "section [init]: the closing bracket is missing"},
        {"[init]", "[init] ; x", "section [init]: what follows the bracket"},
        {"[network]", "stray=1\n[network]", "before the first section"},
        {"[log]", "[logs]", "section [logs]: unknown section; is \"log\" meant?"},
        {"center_server=127.0.0.1:9101", "", "key \"center_server\": missing; a host:port"},
        {"addr=0.0.0.0:9100", "addr=9100", "not of the form host:port"},
        {"addr=0.0.0.0:9100", "addr=::1:9100", "an IPv6 address; the lobby speaks IPv4 only"},
        {"addr=0.0.0.0:9100", "addr=[::1]:9100", "an IPv6 address"},
        {"addr=0.0.0.0:9100", "addr=1.2.3:9100", "not an IPv4 address: 1.2.3"},
        {"addr=0.0.0.0:9100", "addr=*:9100", "neither an IPv4 address nor"},
        {"addr=0.0.0.0:9100", "addr=a:65536", "port 65536 is out of range"},
        {"addr=0.0.0.0:9100", "addr=a:0", "port 0 is out of range"},
        {"log_server=127.0.0.1", "log_server=" + longText, "longer than the 31 characters"},
        {"szPasswd=", "szPasswd=" + longText, "32 characters; at most 31"},
        {"szPasswd=", "szPasswd=a ", "ends in a blank"},
        {"level=WARN", "level=INFO", "not one of ALL|DEBUG|WARN|ERROR"},
        {"level=WARN", "level=WARN ", "not one of ALL|DEBUG|WARN|ERROR"},
        {"FileName=LobbyServer.log", "FileName=a/b", "without directories"},
        {"FileName=LobbyServer.log", "FileName=", "empty"},
        {";trusted_proxies=", "trusted_proxies=10.0.0.0/33,", "not a network such as "},
        {";proxy_protocol=1", "proxy_protocol=1", "without trusted_proxies"},
        {"[limits]", "[limits]\n0x10=0/1s drop", "a count is 1 to 1000000"},
        {"[limits]", "[limits]\n16=1/1s drop\n0x10=1/1s drop", "\"0x10\": a second limit"},
        {"[metrics]", "[metrics]\naddr=127.0.0.1:9100", "taken by [listen] addr"},
        {"SensitiveName=admin,", "SensitiveName=admin, ",
         "SensitiveName.cfg:5: section [config], key \"SensitiveName\": blanks beside a comma"},
        {"SensitiveName=", "SensitiveName=" + std::string(1023990, 'x'), "at most 1023999 are"},
        {"[disconnect]", "[disconnect]\nuser0=7", "\"user0\": is not read, for usernum is 0"},
        {"usernum=0", "usernum=1", "\"user0\": missing, for usernum is 1"},
        {"[disconnect]", "[disconnect]\nuser=1", "unknown key"},
        {"[disconnect]", "[disconnect]\nuser00=1", "unknown key"},
        {"day_user_num=64,", "day_user_num=64,x", "not a whole number"},
        {"day_user_num=64,", "day_user_num=9,8,7,64,", "9 rounds; clients"},
        // What the lobby reads as meant.
        {"interval=20", "\t INTERVAL = 20 \r\n;timeout=x\n# a remark = 1", ""},
        {";trusted_proxies=", "proxy_protocol=2\ntrusted_proxies= ::1/128 , ", ""},
        {"redis_server=127.0.0.1:6379", "redis_server=redis-1.lan: 6379", ""},
        {"usernum=0\n\n[disconnect]", "usernum=2\n[disconnect]\nuser1=5\nUser0=6", ""},
        {"day_user_num=64,", "day_user_num= 64, ", ""},
    };
    for (const auto& row : kRows) {
        Change(row.from, row.to);
        const auto problems = Problems();
        EXPECT_EQ(problems.size(), row.problem.empty() ? 0u : 1u) << row.to;
        EXPECT_THAT(problems, testing::Each(HasSubstr(row.problem))) << row.to;
        Restore();
    }
    Change("interval=20", "interval=-1");
    Change("maxconnection=4900", "maxconnection=20000");
    EXPECT_THAT(Problems(), ElementsAre()) << "no sweeps";
    Change("[init]", "[Init]\n[inti]\nx=1\n[iNit]\nx=1\n[init]");
    EXPECT_THAT(Problems(), ElementsAre(HasSubstr("[inti]: unknown section"),
                                        HasSubstr("[iNit]: repeated; only the first"),
                                        HasSubstr("[init]: repeated; only the first")));
}

// A usernum with a few digits too many printed a million lines before every start.
TEST_F(Check, AProblemOfManyLinesIsToldByTheFirstTwenty) {
    std::string users = "usernum=100\n[disconnect]\n";
    for (int i = 0; i < 100; ++i)
        users += "user" + std::to_string(i) + "=x" + std::to_string(i) + "\n";
    for (const auto& [text, rest] :
         {std::pair<std::string, std::string>{"usernum=1000000\n[disconnect]\nuser3=7\n",
                                              "999979 more of a kind: missing, for usernum is "},
          {users, "80 more of a kind: not a whole number"}}) {
        Write("disconnectuserid.cfg", "[disconnectcount]\n" + text);
        const auto problems = Problems();
        ASSERT_EQ(problems.size(), 21u);
        EXPECT_EQ(problems[20], "disconnectuserid.cfg: section [disconnect]: " + rest);
    }
}

TEST_F(Check, FilesThatCannotBeRead) {
    for (const char* name : {"LobbyServer.cfg", "disconnectuserid.cfg"})
        fs::remove(m_directory / name);
    fs::create_directory(m_directory / "disconnectuserid.cfg");
    Write("SensitiveName.cfg", "");
    Write("compete_info.cfg", std::string("\xFF\xFE[\0c\0", 6));
    EXPECT_THAT(Problems(),
                ElementsAre("LobbyServer.cfg: cannot be read: No such file or directory",
                            "SensitiveName.cfg: is empty", "disconnectuserid.cfg: is a directory",
                            HasSubstr("compete_info.cfg: is UTF-16")));
    Write("compete_info.cfg", "\xEF\xBB\xBF[compete_info]\n");
    EXPECT_THAT(Problems().back(), HasSubstr("compete_info.cfg: begins with a byte order mark"));
}

TEST_F(Check, ExitStatus) {
    Write("other.cfg", "[log]\n");
    Write("SensitiveName.cfg.dpkg-dist", "[confg]\n");
    Write("disconnectuserid.cfg.new", "[disconnectcount]\nusernum=x\n");
    const std::string path = m_directory;
    const struct {
        std::string arguments;
        int status;
        std::string says;
    } kRows[] = {
        {path, 0, "No problems found.\n"},
        {path + "/absent", 2, path + "/absent: "},
        {path + "/other.cfg", 2, path + "/other.cfg: by its name none of LobbyServer.cfg, "},
        {path + "/SensitiveName.cfg", 0, "No problems found.\n"},
        {path + "/SensitiveName.cfg.dpkg-dist", 1, "cfg.dpkg-dist:1: section [confg]"},
        {path + "/disconnectuserid.cfg.new", 1,
         "cfg.new:2: section [disconnectcount], key \"usernum\": not a whole number: \"x\"\n"},
        {"--unknown", 2, "--unknown"},
        {"--keys", 0, "usernum"},
    };
    for (const auto& row : kRows) {
        EXPECT_EQ(Run(row.arguments), row.status) << row.arguments;
        EXPECT_THAT(ReadFile(m_directory / "out"), HasSubstr(row.says));
    }
}

TEST(Keys, AreInTheSamples) {
    for (const ConfigFile& file : kConfigFiles) {
        const std::string sample = ReadFile(kTree / "deploy/config" / file.name);
        for (const ConfigKey& key : file.keys) {
            const std::string_view whole = key.name;
            const std::string name(whole.substr(0, whole.find_first_of("%*")));
            // The default and the bounds stand in the line before the key.
            const std::string range = "; " + RangeOf(key) + "\n";
            EXPECT_THAT(sample, testing::ContainsRegex(range + (name == whole ? ";?" + name : "")))
                << key.name;
        }
    }
}

}  // namespace
