import android.content.res.AssetFileDescriptor;
import android.content.res.AssetManager;
import com.orvex.translate.jni.Translator;
import java.io.FileInputStream;
import java.io.IOException;
import java.nio.ByteBuffer;
import java.nio.channels.FileChannel;
import java.util.HashMap;
import java.util.Map;

/**
 * Opens a model out of an app's assets: the files are mapped where they lie in the package, nothing
 * is unpacked or copied. The build must not compress them:
 *
 * <pre>android { androidResources { noCompress "" } }</pre>
 */
public final class AssetModel {
  private AssetModel() {}

  /** Opens the model in an assets folder, such as "models/en-zh", for a direction. */
  public static Translator open(AssetManager assets, String direction, String folder)
      throws IOException {
    Map<String, ByteBuffer> files = new HashMap<>();
    for (String name : assets.list(folder)) {
      try (AssetFileDescriptor file = assets.openFd(folder + "/" + name);
          FileInputStream in = file.createInputStream()) {
        files.put(
            name,
            in.getChannel()
                .map(FileChannel.MapMode.READ_ONLY, file.getStartOffset(), file.getLength()));
      }
    }
    return Translator.open(direction, files, false);
  }
}
