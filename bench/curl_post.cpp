// The floor of any libcurl client for bench/compare.sh: posts one captured request, the same
// bytes every time, on one kept-alive connection through a multi handle as the transport drives
// it, with the header lines the transport sends, and drops each answer unread. Nothing is composed
// or parsed, so its rate is what a client that keeps libcurl can reach at best beside wrk's.
//
//   curl_post URL BODY_FILE SOAPACTION|- CALLS     N posts; calls per second on stderr
#include <curl/curl.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

namespace {

size_t Drop(char* /*data*/, size_t size, size_t count, void* /*unused*/) { return size * count; }

CURLcode Perform(CURLM* multi, CURL* curl) {
  CURLcode code = CURLE_OK;
  curl_multi_add_handle(multi, curl);
  for (int running = 1; curl_multi_perform(multi, &running) == CURLM_OK;) {
    if (running == 0) {
      int left = 0;
      while (CURLMsg* message = curl_multi_info_read(multi, &left)) code = message->data.result;
      break;
    }
    curl_multi_wait(multi, nullptr, 0, 1000, nullptr);
  }
  curl_multi_remove_handle(multi, curl);
  return code;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 5) {
    std::fprintf(stderr, "usage: curl_post URL BODY_FILE SOAPACTION|- CALLS\n");
    return 2;
  }
  std::ifstream file(argv[2], std::ios::binary);
  const std::string body((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  if (!file.good() && !file.eof()) {
    std::fprintf(stderr, "curl_post: can't read %s\n", argv[2]);
    return 2;
  }
  const long calls = std::strtol(argv[4], nullptr, 10);

  curl_global_init(CURL_GLOBAL_DEFAULT);
  CURL* curl = curl_easy_init();
  CURLM* multi = curl_multi_init();
  curl_slist* headers = curl_slist_append(nullptr, "Content-Type: text/xml; charset=utf-8");
  headers = curl_slist_append(headers, "Expect:");
  const std::string action = std::string("SOAPAction: ") + argv[3];
  if (std::string(argv[3]) != "-") headers = curl_slist_append(headers, action.c_str());
  curl_easy_setopt(curl, CURLOPT_URL, argv[1]);
  curl_easy_setopt(curl, CURLOPT_HTTPHEADER, headers);
  curl_easy_setopt(curl, CURLOPT_POSTFIELDS, body.data());
  curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
  curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, &Drop);
  curl_easy_setopt(curl, CURLOPT_NOPROXY, "");
  // As the transport does: no signal handler installed and restored around every transfer.
  curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
  // And the transport's buffer sizes.
  curl_easy_setopt(curl, CURLOPT_BUFFERSIZE, 64L * 1024);
  curl_easy_setopt(curl, CURLOPT_UPLOAD_BUFFERSIZE, 256L * 1024);

  const auto started = std::chrono::steady_clock::now();
  long done = 0;
  for (; done < calls; ++done) {
    long status = 0;
    if (Perform(multi, curl) != CURLE_OK ||
        curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &status) != CURLE_OK || status != 200) {
      std::fprintf(stderr, "curl_post: post %ld failed (HTTP status %ld)\n", done + 1, status);
      break;
    }
  }
  const double seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
  std::fprintf(stderr, "curl_post: %ld calls in %.3f s: %.0f calls per second\n", done, seconds,
               seconds > 0 ? static_cast<double>(done) / seconds : 0.0);
  curl_slist_free_all(headers);
  curl_easy_cleanup(curl);
  curl_multi_cleanup(multi);
  curl_global_cleanup();
  return done == calls ? 0 : 1;
}
