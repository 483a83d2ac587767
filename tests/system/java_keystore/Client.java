// A Java client with the JDK's default trust: prints the body of a GET and exits 0, or exits 2
// when the TLS handshake fails (the server's issuer is not trusted).
import java.net.URI;
import java.net.http.HttpClient;
import java.net.http.HttpRequest;
import java.net.http.HttpResponse;
import javax.net.ssl.SSLHandshakeException;

public class Client {
  public static void main(String[] args) throws Exception {
    HttpClient client = HttpClient.newBuilder().version(HttpClient.Version.HTTP_1_1).build();
    try {
      HttpResponse<String> response = client.send(
          HttpRequest.newBuilder(URI.create(args[0])).build(), HttpResponse.BodyHandlers.ofString());
      System.out.print(response.body());
    } catch (java.io.IOException failure) {
      for (Throwable cause = failure; cause != null; cause = cause.getCause()) {
        if (cause instanceof SSLHandshakeException) {
          System.out.println("refused: " + cause.getMessage());
          System.exit(2);
        }
      }
      throw failure;
    }
  }
}
