-- wrk script of bench/compare.sh: posts one captured SOAP request, the same bytes every time, on
-- kept-alive connections. The request body and its SOAPAction header come from the environment
-- (TSSOAP_WRK_BODY names the file holding the body; TSSOAP_WRK_ACTION is the header's value,
-- unset for none), since wrk passes script arguments only to init, after the request is built.
local file = assert(io.open(os.getenv("TSSOAP_WRK_BODY"), "rb"))
wrk.method = "POST"
wrk.body = file:read("*a")
file:close()
wrk.headers["Content-Type"] = "text/xml; charset=utf-8"
local action = os.getenv("TSSOAP_WRK_ACTION")
if action ~= nil then wrk.headers["SOAPAction"] = action end
