-- SPDX-License-Identifier: MIT
-- Posts one document over and over: wrk -s post.lua URL -- FILE. Ends with one line of JSON.
function init(arguments)
  local file = assert(io.open(arguments[1], "rb"))
  wrk.method = "POST"
  wrk.headers["Content-Type"] = "text/html; charset=utf-8"
  wrk.body = file:read("*a")
  file:close()
end

function done(summary, latency)
  local errors = summary.errors
  io.write(string.format(
    '\n{"requests":%d,"seconds":%.6f,"median":%.3f,"p99":%.3f,"errors":%d}\n', summary.requests, summary.duration / 1e6,
    latency:percentile(50) / 1000, latency:percentile(99) / 1000,
    errors.connect + errors.read + errors.write + errors.status + errors.timeout))
end
