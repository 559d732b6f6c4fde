import android.content.res.AssetManager;
import com.orvex.translate.jni.Alignment;
import com.orvex.translate.jni.Translator;
import com.orvex.translate.jni.TranslatorException;
import java.io.File;
import java.io.FileOutputStream;
import java.nio.ByteBuffer;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.Arrays;
import java.util.HashMap;
import java.util.Map;
import java.util.concurrent.Callable;
import java.util.concurrent.ExecutorService;
import java.util.concurrent.Executors;
import java.util.concurrent.Future;
import java.util.zip.CRC32;
import java.util.zip.ZipEntry;
import java.util.zip.ZipOutputStream;

/** TranslatorTest FOLDER: the Translator class on the small model, in a real virtual machine. */
public class TranslatorTest {
  private static final String[] TEXTS = {
    "hello world. the cat sat!", "", "good morning \ud83d\ude00", "xyzzy hello\n\ncat", "\ud83d a\0b"
  };
  private static int checks = 0;

  private static void expect(Object expected, Object got, String what) {
    ++checks;
    if (!expected.equals(got)) {
      throw new AssertionError(what + ": expected " + expected + ", got " + got);
    }
  }

  private interface Action {
    void run() throws Exception;
  }

  /** What an action throws, with the code when there is one. */
  private static String thrown(Action action) {
    try {
      action.run();
    } catch (TranslatorException e) {
      if (e.getMessage().isEmpty()) return "no message";
      return "code " + e.code();
    } catch (Exception e) {
      return e.getClass().getSimpleName();
    }
    return "nothing";
  }

  private static String all(Translator translator) {
    StringBuilder out = new StringBuilder();
    for (String text : TEXTS) out.append(translator.translate(text)).append('|');
    return out.toString();
  }

  private static ByteBuffer direct(byte[] bytes) {
    // With other bytes around it, to see that position and limit are minded.
    ByteBuffer buffer = ByteBuffer.allocateDirect(bytes.length + 7);
    buffer.position(3);
    buffer.put(bytes);
    buffer.flip().position(3);
    return buffer;
  }

  private static void translating(String folder) {
    try (Translator translator = Translator.open("en-zh", folder, true)) {
      expect("\u4f60\u597d\u4e16\u754c", translator.translate("hello world"), "a sentence");
      expect("", translator.translate(""), "nothing");
      expect(true, translator.translate("hello \ud83d\ude00").contains("\ud83d\ude00"), "emoji");
      expect(true, translator.translate("\ud83d x").contains("\ufffd"), "half a pair");

      // Two units of emoji before the words: a link counts units, not bytes or characters.
      String text = "\ud83d\ude00 \u00e9 hello world";
      Alignment got = translator.align(text);
      expect(translator.translate(text), got.translation(), "aligned text");
      int found = 0;
      int end = 0;
      for (int i = 0; i < got.size(); ++i) {
        String source = text.substring(got.sourceStart(i), got.sourceEnd(i));
        String target = got.translation().substring(got.targetStart(i), got.targetEnd(i));
        if (source.equals("hello world") && target.equals("\u4f60\u597d\u4e16\u754c")) ++found;
        if (source.equals("\ud83d\ude00") && target.equals("\ud83d\ude00")) ++found;
        expect(true, got.targetStart(i) >= end, "links in order");
        end = got.targetEnd(i);
      }
      expect(2, found, "links of the emoji and of the phrase");
      expect(0, translator.align("").size(), "links of nothing");

      String[] best = translator.nBest("the cat sat", 5);
      expect(translator.translate("the cat sat"), best[0], "the first of the best");
      expect(true, best.length > 1 && best.length <= 5, "five best at most");
      expect(0, translator.nBest("the cat sat", 0).length, "none wanted");
    }
  }

  private static void failing(String folder) throws Exception {
    expect("code 2", thrown(() -> Translator.open("en-xx", folder)), "direction");
    expect("code 2", thrown(() -> Translator.open("th-zh", folder)), "source of a direction");
    expect("code 3", thrown(() -> Translator.open("en-zh", folder + "/none")), "no folder");
    expect("NullPointerException", thrown(() -> Translator.open(null, folder)), "null direction");
    Path copy = Files.createTempDirectory("kora");
    for (File file : new File(folder).listFiles()) {
      Files.copy(file.toPath(), copy.resolve(file.getName()));
    }
    Files.write(copy.resolve("source.vocab"), new byte[] {1});
    expect("code 5", thrown(() -> Translator.open("en-zh", copy.toString(), true)), "manifest");
    expect("code 4", thrown(() -> Translator.open("en-zh", copy.toString())), "damaged file");
    for (File file : copy.toFile().listFiles()) file.delete();
    Files.delete(copy);

    Translator closed = Translator.open("en-zh", folder);
    expect("NullPointerException", thrown(() -> closed.translate(null)), "null text");
    expect("IllegalArgumentException", thrown(() -> closed.nBest("a", -1)), "negative count");
    expect("\u4f60\u597d", closed.translate("hello"), "goes on after a failure");
    closed.close();
    closed.close();
    expect("IllegalStateException", thrown(() -> closed.translate("a")), "closed");
    expect("IllegalStateException", thrown(() -> closed.align("a")), "closed");
  }

  private static void memory(String folder) throws Exception {
    Map<String, ByteBuffer> files = new HashMap<>();
    File zip = File.createTempFile("kora", ".zip");
    try (ZipOutputStream out = new ZipOutputStream(new FileOutputStream(zip))) {
      for (File file : new File(folder).listFiles()) {
        byte[] bytes = Files.readAllBytes(file.toPath());
        files.put(file.getName(), direct(bytes));
        ZipEntry entry = new ZipEntry("models/small/" + file.getName());
        entry.setMethod(ZipEntry.STORED);
        entry.setSize(bytes.length);
        CRC32 sum = new CRC32();
        sum.update(bytes);
        entry.setCrc(sum.getValue());
        out.putNextEntry(entry);
        out.write(bytes);
      }
    }
    files.put("not a model file", direct(new byte[] {1, 2, 3}));
    String wanted;
    try (Translator translator = Translator.open("en-zh", folder)) {
      wanted = all(translator);
    }
    AssetManager assets = new AssetManager(zip);
    try (Translator buffers = Translator.open("en-zh", files, true);
        Translator mapped = AssetModel.open(assets, "en-zh", "models/small")) {
      files.clear();
      System.gc(); // the translators alone hold the buffers now
      expect(wanted, all(buffers), "from buffers");
      expect(wanted, all(mapped), "from assets");
    }
    zip.delete();

    expect("code 3", thrown(() -> Translator.open("en-zh", files, false)), "no files");
    Map<String, ByteBuffer> heap = new HashMap<>();
    heap.put("engine.conf", ByteBuffer.allocate(10));
    expect("IllegalArgumentException", thrown(() -> Translator.open("en-zh", heap, false)), "heap");
  }

  private static void threads(String folder) throws Exception {
    String wanted;
    try (Translator one = Translator.open("en-zh", folder)) {
      wanted = all(one);
      ExecutorService pool = Executors.newFixedThreadPool(4);
      Callable<String> shared = () -> all(one);
      Callable<String> alone =
          () -> {
            try (Translator mine = Translator.open("en-zh", folder)) {
              return all(mine);
            }
          };
      for (Future<String> got : pool.invokeAll(Arrays.asList(shared, alone, shared, alone))) {
        expect(wanted, got.get(), "four threads");
      }
      pool.shutdown();
    }
  }

  private static long residentKilobytes() throws Exception {
    for (String line : Files.readAllLines(new File("/proc/self/status").toPath())) {
      if (line.startsWith("VmRSS:")) return Long.parseLong(line.replaceAll("[^0-9]", ""));
    }
    throw new AssertionError("no VmRSS");
  }

  private static void leaks(String folder) throws Exception {
    long warm = 0;
    for (int round = 0; round < 800; ++round) {
      try (Translator translator = Translator.open("en-zh", folder)) {
        translator.align(TEXTS[2]);
        translator.nBest("the cat sat", 10);
      }
      thrown(() -> Translator.open("en-zh", folder + "/none"));
      if (round == 200) warm = residentKilobytes();
    }
    long growth = residentKilobytes() - warm;
    expect(true, growth < 12000, "growth over 600 rounds: " + growth + " KB");
  }

  public static void main(String[] arguments) throws Exception {
    String folder = arguments[0];
    expect(true, Translator.version().matches("\\d+\\.\\d+\\.\\d+"), "version");
    translating(folder);
    failing(folder);
    memory(folder);
    threads(folder);
    leaks(folder);
    System.out.println(checks + " checks passed");
  }
}
