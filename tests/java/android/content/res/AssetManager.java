package android.content.res;

import java.io.File;
import java.io.FileNotFoundException;
import java.io.IOException;
import java.io.RandomAccessFile;
import java.nio.charset.StandardCharsets;
import java.util.ArrayList;
import java.util.HashMap;
import java.util.List;
import java.util.Map;

/** Stands in for Android's class of this name: the stored entries of a zip file, as in a package. */
public final class AssetManager {
  private final String file;
  private final Map<String, long[]> entries = new HashMap<>();

  /** Reads the local headers of a zip file whose entries are stored, not compressed. */
  public AssetManager(File zip) throws IOException {
    file = zip.getPath();
    try (RandomAccessFile in = new RandomAccessFile(zip, "r")) {
      byte[] head = new byte[30];
      for (long at = 0; ; ) {
        in.seek(at);
        in.readFully(head);
        if (number(head, 0, 4) != 0x04034b50L) break;
        if (number(head, 8, 2) != 0) throw new IOException("a compressed entry");
        byte[] name = new byte[(int) number(head, 26, 2)];
        in.readFully(name);
        long start = at + 30 + name.length + number(head, 28, 2);
        long size = number(head, 18, 4);
        entries.put(new String(name, StandardCharsets.UTF_8), new long[] {start, size});
        at = start + size;
      }
    }
  }

  private static long number(byte[] bytes, int at, int size) {
    long value = 0;
    for (int i = size; i-- > 0; ) value = value << 8 | bytes[at + i] & 0xff;
    return value;
  }

  public String[] list(String folder) {
    List<String> names = new ArrayList<>();
    for (String name : entries.keySet()) {
      if (name.startsWith(folder + "/")) names.add(name.substring(folder.length() + 1));
    }
    return names.toArray(new String[0]);
  }

  public AssetFileDescriptor openFd(String name) throws IOException {
    long[] place = entries.get(name);
    if (place == null) throw new FileNotFoundException(name);
    return new AssetFileDescriptor(file, place[0], place[1]);
  }
}
