package com.orvex.translate.jni;

import java.nio.ByteBuffer;
import java.util.Map;

/**
 * One loaded model. Any number may be open at the same time, of any directions; a translator serves
 * one call at a time and makes other threads wait, so give each thread its own where that matters.
 *
 * <pre>
 * try (Translator translator = Translator.open("en-zh", folder)) {
 *   show(translator.translate("Good morning."));
 * }
 * </pre>
 *
 * <p>Close it: the model is outside of Java's heap and no collector frees it. Failures are {@link
 * TranslatorException}s; after one the translator goes on working. Null is refused with a {@link
 * NullPointerException}, a closed translator with an {@link IllegalStateException}.
 */
public final class Translator implements AutoCloseable {
  static {
    NativeLibrary.load();
  }

  private long handle;
  /** Holds what the native side reads from, as long as it does. */
  private final ByteBuffer[] files;

  private Translator(long handle, ByteBuffer[] files) {
    this.handle = handle;
    this.files = files;
  }

  /** Opens a model folder. The direction is a pair such as "en-zh". */
  public static Translator open(String direction, String folder) {
    return open(direction, folder, false);
  }

  /**
   * The same. With {@code check} every file is first compared with the folder's manifest, which reads
   * all of it: for the first start after a download.
   */
  public static Translator open(String direction, String folder, boolean check) {
    return new Translator(nativeOpen(notNull(direction), notNull(folder), check), null);
  }

  /**
   * Opens a model whose files are in memory, each from its buffer's position to its limit. The
   * buffers must be direct (maps of uncompressed assets are), are not copied, and must not change
   * until the translator is closed. Files that the model does not name are ignored.
   */
  public static Translator open(
      String direction, Map<String, ? extends ByteBuffer> files, boolean check) {
    String[] names = new String[files.size()];
    ByteBuffer[] buffers = new ByteBuffer[names.length];
    int count = 0;
    for (Map.Entry<String, ? extends ByteBuffer> file : files.entrySet()) {
      names[count] = notNull(file.getKey());
      buffers[count] = notNull(file.getValue()).slice();
      if (!buffers[count].isDirect()) {
        throw new IllegalArgumentException("not a direct buffer: " + names[count]);
      }
      ++count;
    }
    return new Translator(nativeOpenMemory(notNull(direction), names, buffers, check), buffers);
  }

  /** Translates a text. Each line that is not empty gives one line. */
  public synchronized String translate(String text) {
    return nativeTranslate(open(), notNull(text));
  }

  /** The same, and which part of the translation comes from which part of the text. */
  public synchronized Alignment align(String text) {
    String[] translation = new String[1];
    int[] links = nativeAlign(open(), notNull(text), translation);
    return new Alignment(translation[0], links);
  }

  /**
   * The best translations of one sentence, at most {@code count}, best first. The same text may be
   * found in different ways and is then listed each time.
   */
  public synchronized String[] nBest(String sentence, int count) {
    if (count < 0) {
      throw new IllegalArgumentException("a negative count: " + count);
    }
    return nativeNBest(open(), notNull(sentence), count);
  }

  /** Gives the model back. A second call does nothing. */
  @Override
  public synchronized void close() {
    if (handle != 0) {
      nativeClose(handle);
      handle = 0;
    }
  }

  /** The version of the native library, such as "1.0.0". */
  public static String version() {
    return nativeVersion();
  }

  private long open() {
    if (handle == 0) {
      throw new IllegalStateException("the translator is closed");
    }
    return handle;
  }

  private static <T> T notNull(T value) {
    if (value == null) {
      throw new NullPointerException();
    }
    return value;
  }

  private static native long nativeOpen(String direction, String folder, boolean check);

  private static native long nativeOpenMemory(
      String direction, String[] names, ByteBuffer[] files, boolean check);

  private static native void nativeClose(long handle);

  private static native String nativeTranslate(long handle, String text);

  private static native int[] nativeAlign(long handle, String text, String[] translation);

  private static native String[] nativeNBest(long handle, String sentence, int count);

  private static native String nativeVersion();
}
