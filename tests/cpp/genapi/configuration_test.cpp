// Configuration files: what is written, what is taken, and that a refusal changes nothing.
#include "memory_source.h"
#include "params/configuration_file.h"
#include "params/param_array.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>

namespace
{

namespace fs = std::filesystem;

const std::string kHead = "# {05D8C294-F295-4dfb-9D01-096BD04049F4}\n"
                          "# GenApi persistence file (version 3.1.0)\n";
const std::string kYes = "<Streamable>Yes</Streamable>";

/// A camera of 1000 columns: Width and OffsetX limit each other, Gain exists per channel and stage,
/// Gamma only while it is switched on, Binning halves the width.
std::string cameraNodes()
{
    const std::string rw = "<AccessMode>RW</AccessMode>";
    return intReg("WidthReg", "0") + intReg("OffsetReg", "4") + intReg("ChannelReg", "8") +
           intReg("StageReg", "12") + intReg("BinningReg", "16") + intReg("GammaOnReg", "20") +
           intReg("GammaReg", "24") + intReg("LockReg", "28") + intReg("LimitReg", "32") +
           "<Integer Name=\"Width\">" + kYes +
           "<pValue>WidthReg</pValue><Min>10</Min><pMax>WidthMax</pMax></Integer>"
           "<IntSwissKnife Name=\"WidthMax\"><pVariable Name=\"O\">OffsetX</pVariable>"
           "<pVariable Name=\"B\">Binning</pVariable><Formula>1000/B-O</Formula></IntSwissKnife>"
           "<Integer Name=\"OffsetX\">" +
           kYes +
           "<pValue>OffsetReg</pValue><Min>0</Min><pMax>OffsetMax</pMax></Integer>"
           "<IntSwissKnife Name=\"OffsetMax\"><pVariable Name=\"W\">Width</pVariable>"
           "<pVariable Name=\"B\">Binning</pVariable><Formula>1000/B-W</Formula></IntSwissKnife>"
           "<Integer Name=\"Binning\">" +
           kYes +
           "<pIsLocked>LockReg</pIsLocked><pValue>BinningReg</pValue><Min>1</Min><Max>4</Max>"
           "</Integer><Enumeration Name=\"Channel\">" +
           kYes +
           "<EnumEntry Name=\"Red\"><Value>0</Value></EnumEntry><EnumEntry Name=\"Blue\">"
           "<Value>1</Value></EnumEntry><pValue>ChannelReg</pValue><pSelected>Stage</pSelected>"
           "</Enumeration><Integer Name=\"Stage\"><pValue>StageReg</pValue><Min>0</Min><Max>1</Max>"
           "<pSelected>Gain</pSelected></Integer><Float Name=\"Gain\">" +
           kYes +
           "<pValue>GainReg</pValue><Min>0</Min><Max>24</Max></Float><FloatReg Name=\"GainReg\">"
           "<Address>64</Address><pIndex Offset=\"16\">Channel</pIndex>"
           "<pIndex Offset=\"8\">Stage</pIndex><Length>8</Length>" +
           rw +
           "<pPort>Device</pPort><Endianess>LittleEndian</Endianess></FloatReg>"
           "<Boolean Name=\"GammaOn\">" +
           kYes + "<pValue>GammaOnReg</pValue></Boolean><Integer Name=\"Gamma\">" + kYes +
           "<pIsAvailable>GammaOnReg</pIsAvailable><pValue>GammaReg</pValue><Max>100</Max></"
           "Integer>"
           "<StringReg Name=\"Label\"><Address>128</Address><Length>32</Length>" +
           rw + kYes +
           "<pPort>Device</pPort></StringReg><Integer Name=\"Secret\"><pValue>LimitReg</pValue>"
           "</Integer><Command Name=\"Go\">" +
           kYes + "<pValue>LimitReg</pValue><CommandValue>1</CommandValue></Command>";
}

class Configuration : public testing::Test
{
protected:
    Configuration()
        : source(describe(cameraNodes(), {"GammaOn", "Gamma", "OffsetX", "Width", "Binning",
                                          "Channel", "Stage", "Gain", "Label", "Secret", "Go"}))
    {
        directory = makeDirectory();
        source.setWord(0, 400);
        source.setWord(4, 100);
        source.setWord(16, 1);
        source.setWord(24, 50);
        for (int i = 0; i < 4; ++i)
            setGain(i, i + 0.1);
        setLabel("left  camera ");
        source.onWrite = [this](std::uint64_t address) {
            if (address == 16 && source.word(0) > 1000 / source.word(16))
                source.setWord(0, 1000 / source.word(16));
        };
        EXPECT_EQ(array.attach({&source}), 0);
    }

    ~Configuration() override { fs::remove_all(directory); }

    static fs::path makeDirectory()
    {
        std::string name = (fs::temp_directory_path() / "zelcam-genapi-XXXXXX").string();
        return mkdtemp(name.data());
    }

    void setGain(int index, double value)
    {
        std::memcpy(source.memory.data() + 64 + 8 * index, &value, sizeof value);
    }

    double gain(int index) const
    {
        double value = 0.0;
        std::memcpy(&value, source.memory.data() + 64 + 8 * index, sizeof value);
        return value;
    }

    void setLabel(const std::string& text)
    {
        std::memcpy(source.memory.data() + 128, text.c_str(), text.size() + 1);
    }

    std::string path(const std::string& name) const { return (directory / name).string(); }

    static void put(const std::string& file, const std::string& text)
    {
        std::ofstream(file, std::ios::binary) << text;
    }

    static std::string get(const std::string& file)
    {
        std::ostringstream text;
        text << std::ifstream(file, std::ios::binary).rdbuf();
        return text.str();
    }

    ZelCamErr load(const std::string& text)
    {
        put(path("load"), text);
        return params::loadConfiguration(array, path("load").c_str());
    }

    /// Loads what must be refused, and looks for a trace of it.
    void refuse(const std::string& lines, ZelCamErr code)
    {
        const auto before = source.memory;
        EXPECT_EQ(load(lines), code) << lines;
        EXPECT_EQ(source.memory, before) << lines;
    }

    fs::path directory;
    MemorySource source;
    params::ParamArray array;
};

const std::string kSaved = "GammaOn\t0\nOffsetX\t100\nWidth\t400\nBinning\t1\nChannel\tBlue\n"
                           "Gain\t{Channel=Red}{Stage=0}\t0.1\nGain\t{Channel=Red}{Stage=1}\t1.1\n"
                           "Gain\t{Channel=Blue}{Stage=0}\t2.1\n"
                           "Gain\t{Channel=Blue}{Stage=1}\t3.1\nLabel\tleft  camera \n";

TEST_F(Configuration, SavesEveryCombinationAndNamesTheDevice)
{
    ASSERT_EQ(array.SetEnumValueStr("Channel", "Blue"), 0);
    const params::DeviceIdentity identity = {"Vendor",      "Model\nX", "0815",
                                             "GigE Vision", "if",       "id"};
    ASSERT_EQ(params::saveConfiguration(array, identity, path("a").c_str()), 0);
    EXPECT_EQ(get(path("a")), kHead +
                                  "# Vendor = Vendor\n# Model = Model X\n# SerialNumber = 0815\n"
                                  "# InterfaceType = GigE Vision\n# InterfaceID = if\n"
                                  "# DeviceID = id\n" +
                                  kSaved);
    EXPECT_EQ(source.word(8), 1U) << "the selector has its old value";
    params::DeviceIdentity read;
    ASSERT_EQ(params::readConfigurationIdentity(path("a").c_str(), &read), 0);
    EXPECT_EQ(read.model, "Model X");
    EXPECT_EQ(read.deviceId, "id");

    setLabel("&#10;\ttab\nline {");
    ASSERT_EQ(params::saveConfiguration(array, {}, path("b").c_str()), 0);
    ASSERT_EQ(params::loadConfiguration(array, path("a").c_str()), 0);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(source.memory.data()) + 128), "left  camera ");
    ASSERT_EQ(params::loadConfiguration(array, path("b").c_str()), 0);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(source.memory.data()) + 128),
              "&#10;\ttab\nline {");
}

TEST_F(Configuration, BringsBackWhatWasSavedWhateverTheOrder)
{
    ASSERT_EQ(params::saveConfiguration(array, {}, path("a").c_str()), 0);
    source.setWord(16, 2);
    source.setWord(0, 20);
    source.setWord(4, 480);
    source.setWord(8, 1);
    setGain(0, 9);
    setGain(3, 9);
    setLabel("other");
    ASSERT_EQ(params::loadConfiguration(array, path("a").c_str()), 0);
    EXPECT_EQ(source.word(0), 400U);
    EXPECT_EQ(source.word(4), 100U);
    EXPECT_EQ(source.word(16), 1U);
    EXPECT_EQ(source.word(8), 0U) << "the selector is a setting itself";
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(gain(i), i + 0.1) << "to the last bit";

    for (const char* lines : {"Width\t900\nOffsetX\t50\n", "OffsetX\t50\nWidth\t900\n",
                              "OffsetX\t950\nWidth\t50\n", "Gamma\t7\nGammaOn\t1\n"}) {
        EXPECT_EQ(load(kHead + lines), 0) << lines;
    }
    EXPECT_EQ(source.word(4), 950U);
    EXPECT_EQ(source.word(24), 7U);
    source.setWord(28, 1);
    EXPECT_EQ(load(kHead + "Binning\t1\nWidth\t50\n"), 0) << "locked, but already so";
}

TEST_F(Configuration, TakesFilesOfOtherPrograms)
{
    const std::string text =
        "\xEF\xBB\xBF# {05D8C294-F295-4dfb-9D01-096BD04049F4}\r\n"
        "# GenApi persistence file (version 2.4.1)\r\n# Device = any -- thing\r\n"
        "\r\nWidth\t 0x12C\r\nGammaOn\ttrue\r\nChannel\tBlue\r\nGain\t"
        "{Stage=1}\t4.5e0\r\nChannel\tRed\r\nGain\t{Stage=0}\t5\r\n"
        "Label\t two words \r\n";
    ASSERT_EQ(load(text), 0);
    EXPECT_EQ(source.word(0), 300U);
    EXPECT_EQ(source.word(20), 1U);
    EXPECT_EQ(gain(3), 4.5) << "under the entry that the line before it chose";
    EXPECT_EQ(gain(0), 5.0);
    EXPECT_EQ(source.word(8), 0U);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(source.memory.data()) + 128), " two words ");
}

TEST_F(Configuration, RefusesAndPutsBack)
{
    const std::string change = kHead + "GammaOn\t1\nGamma\t3\nBinning\t2\nOffsetX\t0\n"
                                       "Gain\t{Channel=Blue}{Stage=1}\t20\nLabel\tnew\n";
    for (const char* line :
         {"Height\t5\n", "Secret\t1\n", "Go\t1\n", "Root\t1\n", "Width\tmany\n", "Width 5\n",
          "\t5\n", "Channel\tGreen\n", "GammaOn\t2\n", "Gain\t1.0.0\n", "Gain\t{Channel=Red\t1\n",
          "Gain\t{Channel=Green}\t1\n", "Gain\t{Width=400}\t1\n", "Width\t{Channel=Red}\t400\n"})
        refuse(change + line, -40004);
    refuse("Width\t400\n", -40004);
    refuse("", -40004);
    refuse("# {05D8C294-F295-4dfb-9D01-096BD04049F4}\nWidth\t400\n", -40004);
    refuse(kHead + std::string("Label\ta\0b\n", 10), -40004);
    refuse(change + "Width\t600\n", -40204);
    refuse(change + "Width\t500\nOffsetX\t1\n", -40204);
    refuse(change + "Gain\t{Channel=Red}{Stage=0}\t25\n", -40204);
    refuse(change + "Label\t" + std::string(33, 'x') + "\n", -40204);
    refuse(kHead + "GammaOn\t0\nGamma\t3\n", -40202);
    source.setWord(28, 1);
    refuse(change, -40202);
    source.setWord(28, 0);
    EXPECT_EQ(load(change), 0) << "without the bad line it is fine";
    EXPECT_EQ(source.word(0), 400U);
}

TEST_F(Configuration, FilesThatAreNone)
{
    const auto load = [&](const std::string& file) {
        return params::loadConfiguration(array, file.c_str());
    };
    const auto save = [&](const std::string& file) {
        return params::saveConfiguration(array, {}, file.c_str());
    };
    EXPECT_EQ(params::loadConfiguration(array, nullptr), -40007);
    EXPECT_EQ(load(""), -40007);
    EXPECT_EQ(save(""), -40007);
    EXPECT_EQ(load(path("none")), -40002);
    EXPECT_EQ(load(path("none/none")), -40002);
    EXPECT_EQ(save(path("none/none")), -40002);
    EXPECT_EQ(load(directory.string()), -40003);
    EXPECT_EQ(save(directory.string()), -40003);
    EXPECT_EQ(load("/dev/zero"), -40003);
    EXPECT_EQ(save("/dev/full"), -40003);
    EXPECT_TRUE(fs::is_character_file("/dev/full"));
    ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);
    EXPECT_EQ(load(path("pipe")), -40003);
    put(path("big"), kHead + std::string(std::size_t{16} << 20, '\n'));
    EXPECT_EQ(load(path("big")), -40003);
    const std::string odd = path("na\xFFme");
    EXPECT_EQ(save(odd), 0) << "names are bytes";
    EXPECT_EQ(load(odd), 0);
    ASSERT_EQ(symlink(odd.c_str(), path("link").c_str()), 0);
    EXPECT_EQ(save(path("link")), 0);
    EXPECT_TRUE(fs::is_symlink(path("link")));
    fs::permissions(odd, fs::perms(0600));
    EXPECT_EQ(save(odd), 0);
    EXPECT_EQ(fs::status(odd).permissions(), fs::perms(0600));
    EXPECT_EQ(save(path(std::string(255, 'n'))), 0);
    for (const auto& file : fs::directory_iterator(directory))
        EXPECT_EQ(file.path().string().find(".part"), std::string::npos) << file.path();
    const std::string before = get(odd);
    source.failure = -1010;
    EXPECT_EQ(save(odd), -1010);
    EXPECT_EQ(get(odd), before) << "a failure leaves the old file";
    EXPECT_EQ(load(odd), -1010);
    array.detach(-1006);
    EXPECT_EQ(save(odd), -1006);
    EXPECT_EQ(load(odd), -1006);
}

TEST_F(Configuration, DamagedFilesLoadWholeOrNotAtAll)
{
    ASSERT_EQ(params::saveConfiguration(array, {"V", "M", "S", "T", "I", "D"}, path("a").c_str()),
              0);
    const std::string whole = get(path("a"));
    ASSERT_EQ(load(kHead + "Width\t77\nOffsetX\t7\nBinning\t2\nLabel\tchanged\n"
                           "Gain\t{Channel=Red}{Stage=0}\t8\n"),
              0);
    const auto before = source.memory;
    std::mt19937 random(4711);
    int loaded = 0;
    const auto check = [&](const std::string& text, std::size_t position) {
        if (load(text) != 0)
            EXPECT_EQ(source.memory, before) << "at byte " << position;
        else
            ++loaded;
        source.memory = before;
    };
    for (std::size_t i = 0; i < whole.size(); ++i) {
        check(whole.substr(0, i), i);
        std::string flipped = whole;
        flipped[i] = static_cast<char>(flipped[i] ^ (1 << (random() % 8)));
        check(flipped, i);
    }
    EXPECT_GT(loaded, 0) << "a changed digit is still a configuration";
}

TEST_F(Configuration, DescriptionOlderThanTheMarkSavesAllThatCanBeWritten)
{
    const std::string nodes = intReg("Width", "0") + intReg("Hidden", "4") +
                              intReg("Sensor", "8", "<AccessMode>RO</AccessMode>") +
                              "<Command Name=\"Go\"><pValue>Hidden</pValue>"
                              "<CommandValue>1</CommandValue></Command>";
    MemorySource old(describe(nodes, {"Width", "Sensor", "Go"}));
    old.setWord(0, 640);
    params::ParamArray oldArray;
    ASSERT_EQ(oldArray.attach({&old}), 0);
    ASSERT_EQ(params::saveConfiguration(oldArray, {}, path("old").c_str()), 0);
    EXPECT_NE(get(path("old")).find("Width\t640\n"), std::string::npos);
    for (const char* absent : {"Sensor", "Hidden", "Go\t"})
        EXPECT_EQ(get(path("old")).find(absent), std::string::npos) << absent;
    old.setWord(0, 16);
    EXPECT_EQ(params::loadConfiguration(oldArray, path("old").c_str()), 0);
    EXPECT_EQ(old.word(0), 640U);

    // One mark, even a No, and the others are not meant.
    MemorySource marked(describe(nodes + intReg("Other", "12",
                                                "<AccessMode>RW</AccessMode>"
                                                "<Streamable>No</Streamable>"),
                                 {"Width", "Other"}));
    params::ParamArray markedArray;
    ASSERT_EQ(markedArray.attach({&marked}), 0);
    EXPECT_EQ(params::loadConfiguration(markedArray, path("old").c_str()),
              ZelErr::kWrongConfiguration);
}

} // namespace
