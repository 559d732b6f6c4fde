import com.orvex.translate.jni.JniInter;
import java.io.File;
import java.io.PrintStream;
import java.nio.file.Files;

/** FaceTest FOLDER TEXT writes a translation; FaceTest --test FOLDER runs the tests. */
public class FaceTest {
  private static int checks = 0;

  private static void expect(Object expected, Object got, String what) {
    ++checks;
    if (!expected.equals(got)) {
      throw new AssertionError(what + ": expected " + expected + ", got " + got);
    }
  }

  private static long residentKilobytes() throws Exception {
    for (String line : Files.readAllLines(new File("/proc/self/status").toPath())) {
      if (line.startsWith("VmRSS:")) return Long.parseLong(line.replaceAll("[^0-9]", ""));
    }
    throw new AssertionError("no VmRSS");
  }

  private static void test(String folder) throws Exception {
    JniInter kora = new JniInter();
    String conf = folder + "/engine.conf";
    expect(1, kora.CheckLang("plain"), "ASCII");
    expect(1, kora.CheckLang(""), "empty");
    expect(0, kora.CheckLang("\u4f60"), "Chinese");
    expect(1, kora.CheckLang("a\0b"), "a zero byte is ASCII");
    expect(0, kora.CheckLang(null), "null");

    expect("", kora.GetTransRes(), "before the first Translate");
    expect(-1, kora.Translate("hello"), "Translate first of all");
    expect(2, kora.CreateDecoder(), "CreateDecoder first of all");
    kora.Finalize();
    for (String name : new String[] {"ce", "", "ENG", "CE\0", null}) {
      expect(-1, kora.Initialize(name, null, null), "direction " + name);
    }
    expect(2, kora.Initialize("EC", null, folder), "no configuration");
    expect(4, kora.Initialize("EC", conf, null), "no folder");
    expect(4, kora.Initialize("EC", folder + "/none", folder), "missing configuration");
    expect(3, kora.Initialize("EC", conf, folder), "counts as initialised");
    kora.Finalize();

    expect(0, kora.Initialize("EC", conf, folder), "Initialize");
    expect(0, kora.CreateDecoder(), "CreateDecoder");
    expect(1, kora.CreateDecoder(), "CreateDecoder again");
    expect(3, kora.Initialize("EC", conf, folder), "Initialize again");
    String[][] cases = {
      {"hello world", "\u4f60\u597d\u4e16\u754c"},
      {"", ""},
      {"hello world\n\ngood morning", "\u4f60\u597d\u4e16\u754c\n\u65e9\u4e0a\u597d"},
    };
    for (String[] one : cases) {
      expect(0, kora.Translate(one[0]), one[0]);
      expect(one[1], kora.GetTransRes(), one[0]);
    }
    expect(0, kora.Translate("hello \ud83d\ude00 world"), "emoji");
    expect(true, kora.GetTransRes().contains("\ud83d\ude00"), "emoji comes back: " + kora.GetTransRes());
    for (String odd : new String[] {"\ud83d", "\ude00\ud83d", "a\0b hello", "\uffff\ufffe"}) {
      expect(0, kora.Translate(odd), "odd characters");
      expect(false, kora.GetTransRes() == null, "a result");
    }
    expect(3, kora.Translate(null), "null text");
    StringBuilder megabyte = new StringBuilder();
    while (megabyte.length() < 1 << 20) megabyte.append("hello world. the cat sat!\n");
    expect(0, kora.Translate(megabyte.toString()), "a megabyte");
    expect(megabyte.length() / 26, kora.GetTransRes().split("\n").length, "lines of a megabyte");
    kora.Finalize();
    expect(-1, kora.Translate("hello"), "after Finalize");

    long warm = 0;
    for (int round = 0; round < 1000; ++round) {
      expect(0, kora.Initialize("EC", conf, folder), "Initialize in a round");
      expect(0, kora.CreateDecoder(), "CreateDecoder in a round");
      expect(0, kora.Translate("hello world"), "Translate in a round");
      kora.Finalize();
      if (round == 200) warm = residentKilobytes();
    }
    long growth = residentKilobytes() - warm;
    // A leak of one model would be far more than 20 KB a round.
    expect(true, growth < 16000, "growth over 800 rounds: " + growth + " KB");
    System.out.println(checks + " checks passed; growth over 800 rounds " + growth + " KB");
  }

  public static void main(String[] arguments) throws Exception {
    if (arguments.length != 2) System.exit(2);
    if (arguments[0].equals("--test")) {
      test(arguments[1]);
      return;
    }
    JniInter kora = new JniInter();
    kora.Initialize("EC", arguments[0] + "/engine.conf", arguments[0]);
    kora.CreateDecoder();
    if (kora.Translate(arguments[1]) != 0) System.exit(1);
    PrintStream out = new PrintStream(System.out, true, "UTF-8");
    out.print(kora.GetTransRes());
    kora.Finalize();
  }
}
