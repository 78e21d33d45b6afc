// Made by code_tables from enrol/codes.def; edit that file and run code_tables.
var certEnrollCodes = {
  "0": {
    operation: "every operation",
    happened: "Success",
    cause: "Everything went as it should.",
    remedy: "Nothing; go on with the next step."
  },
  "1": {
    operation: "every operation",
    happened: "`IsCertExist`: no such certificate, or a bad argument",
    cause: "The certificate was never installed here, was deleted, or belongs to another user of this computer; or the issuer or serial number was left empty or mistyped.",
    remedy: "Compare issuer and serial number with the certificate itself. If they are right, the certificate is not in this user's store: install it, or look on the computer where it was requested."
  },
  "-333": {
    operation: "every operation",
    happened: "Refused: the host is \"plugin-container.exe\"",
    cause: "The browser runs plug-ins in a separate process, where certificates can be requested but neither installed nor looked up.",
    remedy: "Open the page in a browser that runs plug-ins in its own process, or have the browser's administrator switch the separate plug-in process off, and then repeat this step. A waiting request is not lost."
  },
  "22018102": {
    operation: "provider enumeration",
    happened: "Provider enumeration: negative index (never reaches the page)",
    cause: "A page asked for a provider by a number below zero; the page is told only that there is no such provider.",
    remedy: "Number the providers from 0 upwards, and stop at the first empty name."
  },
  "22018203": {
    operation: "provider enumeration",
    happened: "Provider enumeration or Firefox registry look-up: out of memory",
    cause: "The computer had no memory left for the name of a provider or for the place where Firefox is installed.",
    remedy: "Close other programs and try again. If it comes back, restart the browser."
  },
  "22018219": {
    operation: "provider enumeration",
    happened: "Provider name too long for the list buffer",
    cause: "A cryptographic provider is registered under a name of 2048 characters or more, which no working provider has.",
    remedy: "Have the provider's installation repaired or removed; choose another provider until then."
  },
  "22028201": {
    operation: "provider choice",
    happened: "`setCSP`: empty name",
    cause: "The page chose a provider without saying which, often because the list of providers was empty.",
    remedy: "Choose a provider from the list. If the list is empty, install the software of your smart card, or have the computer's own provider repaired."
  },
  "22038112": {
    operation: "shared request-subject and container work",
    happened: "`genP10_exp_withdn`: exportable is neither 0 nor 1",
    cause: "The page asked for something other than \"may be exported\" (1) or \"must stay\" (0).",
    remedy: "Choose whether the key may be exported and make the request again. Whoever maintains the page should send 0 or 1."
  },
  "22038124": {
    operation: "shared request-subject and container work",
    happened: "Subject could not be encoded",
    cause: "A name holds something that the certificate's name cannot carry, most often a country that is not two plain letters, or a name that is too long.",
    remedy: "Give the country as two letters such as DE or US, shorten the other names to 64 characters, and make the request again."
  },
  "22038203": {
    operation: "shared request-subject and container work",
    happened: "Out of memory while building the subject",
    cause: "The computer had no memory left for the name in the request.",
    remedy: "Close other programs and make the request again."
  },
  "22038226": {
    operation: "shared request-subject and container work",
    happened: "`writeClientCert` family: text is neither a certificate nor signed data of the accepted kind",
    cause: "The text is not a certificate: it was cut short when it was copied, it is a page with an error message, or it is another kind of file, such as the request itself or a PKCS#12 file. A chain (PKCS#7) is also refused by the method that takes only a bare certificate.",
    remedy: "Fetch the certificate from the authority again, as base64 text, and install it again. The waiting key is untouched, so no new request is needed."
  },
  "22038227": {
    operation: "shared request-subject and container work",
    happened: "Subject: unknown attribute key, or more than 10 components",
    cause: "The name uses a field other than C, O, OU and CN, has a blank after a comma, or has more than ten parts.",
    remedy: "Use only country, organisation, unit and common name, written with commas alone, at most ten parts. A comma inside a name also starts a new part: leave it out."
  },
  "22038228": {
    operation: "shared request-subject and container work",
    happened: "Subject: a component without \"=\"",
    cause: "A part of the name has no \"=\", usually because a name holds a comma and so fell into two parts.",
    remedy: "Take commas out of the names and make the request again."
  },
  "22038309": {
    operation: "shared request-subject and container work",
    happened: "Marker file could not be read",
    cause: "No request is waiting for a certificate on this computer: it was already installed, an earlier attempt failed and used up the waiting request, or the request was made by another user or on another computer.",
    remedy: "See whether the certificate is already there. If not, make a new request; if it was made elsewhere, install it there. Each request serves for one attempt."
  },
  "22068017": {
    operation: "certificate installation",
    happened: "Signed data: the leaf certificate could not be extracted",
    cause: "The authority sent a signed message in place of a plain list of certificates, the message holds none, each of its certificates issued another, or the user's own is longer than 10240 bytes.",
    remedy: "Ask the authority for the certificate alone, or for a certificates-only PKCS#7 file. The attempt used up the waiting request, so make a new one first."
  },
  "22068101": {
    operation: "certificate installation",
    happened: "Certificate store could not be opened",
    cause: "The store of personal certificates is locked, damaged, or closed to this user.",
    remedy: "See that the user can open the certificate store with the system's own tools, then make a new request. The key that was made remains but is no longer waited for."
  },
  "22068103": {
    operation: "certificate installation",
    happened: "Key container could not be opened",
    cause: "The provider no longer finds the key: another provider was chosen than for the request, the smart card is not in the reader, or the wrong PIN was given.",
    remedy: "Insert the card that was used for the request, choose the same provider, and make a new request."
  },
  "22068105": {
    operation: "certificate installation",
    happened: "Key not found in the container",
    cause: "The place where the key should be is there but empty for signing: the key was deleted, or it was made for key exchange only.",
    remedy: "Make a new request and choose \"signature\" as the purpose of the key."
  },
  "22068106": {
    operation: "certificate installation",
    happened: "Private key size query failed",
    cause: "The private key may not leave its provider, and with a provider whose name begins with \"Microsoft\" a chain is installed by moving the key.",
    remedy: "Make a new request and install the certificate alone (without its chain), or make the key exportable."
  },
  "22068108": {
    operation: "certificate installation",
    happened: "Private key export failed",
    cause: "The provider refused to give the private key out: it was made as not exportable, or the confirmation was declined.",
    remedy: "Make a new request and install the certificate alone, or make the key exportable and agree when the system asks."
  },
  "22068110": {
    operation: "certificate installation",
    happened: "Certificate could not be added to the store",
    cause: "The store refused the certificate: it is damaged, another certificate with the same issuer and serial number is already there, the disk is full, or the store is read-only.",
    remedy: "Look for a certificate with the same serial number and remove it if it is out of date, see that the disk has room, and then make a new request."
  },
  "22068117": {
    operation: "certificate installation",
    happened: "Private key import failed",
    cause: "The provider would not take the private key into its new place, or the system's question about protecting it was cancelled.",
    remedy: "Make a new request and answer the system's questions about the key when they appear."
  },
  "22068118": {
    operation: "certificate installation",
    happened: "Certificate could not be set on the key",
    cause: "The provider or smart card could not store the certificate beside the key: the card is full, write-protected or not logged in.",
    remedy: "Free a place on the card or log in to it with the maker's tool, then make a new request. If the provider is one of the computer's own, have its store checked."
  },
  "22068125": {
    operation: "certificate installation",
    happened: "Certificate does not belong to the key in the container",
    cause: "The certificate was issued for another request: the answer to an older request was used, or a second request has been made since.",
    remedy: "Find the certificate that answers the last request. The attempt used up the waiting request, so make a new request and have the authority answer that one."
  },
  "22068201": {
    operation: "certificate installation",
    happened: "No provider chosen, or no provider name at installation",
    cause: "No provider was chosen since the page was opened; each opening of the page forgets the choice.",
    remedy: "Choose the provider that was used for the request and install again. If a new choice does not help, make a new request."
  },
  "22068204": {
    operation: "certificate installation",
    happened: "Empty certificate text",
    cause: "There was no certificate text to install.",
    remedy: "Fetch the certificate from the authority, or paste all of its text, and install again."
  },
  "22068207": {
    operation: "certificate installation",
    happened: "Chain certificates could not be stored",
    cause: "The user's certificate is installed, but the authorities' certificates that came with it could not all be stored: the answer holds the certificate alone, lacks an authority or has one too many, or the user declined to add one.",
    remedy: "The certificate can be used already. Add the authorities' certificates by hand if programs complain of an unknown issuer; do not request a new one for this."
  },
  "22068215": {
    operation: "certificate installation",
    happened: "Internal: empty certificate or container name",
    cause: "An empty certificate came out of the answer, or the note of the waiting key was empty.",
    remedy: "Make a new request and fetch the certificate again. If it comes back, send the answer to the authority's support."
  },
  "22068311": {
    operation: "certificate installation",
    happened: "An exception ended the installation",
    cause: "Something unexpected ended the installation, most often exhausted memory or a damaged answer.",
    remedy: "Restart the browser, make a new request, and try again. If it comes back, keep the certificate text for the support desk."
  },
  "22188104": {
    operation: "request generation",
    happened: "Key generation or request signing failed",
    cause: "The provider could not make or use the key: it does not support this key size or hash, the smart card has no room or is out of the reader, or the PIN was not given.",
    remedy: "Try 2048 bits and SHA-1, see that the card is in the reader and has room for a key, give the PIN when asked, or choose another provider."
  },
  "22188106": {
    operation: "request generation",
    happened: "Public key size query failed",
    cause: "The key was made, but the provider would not say how large its public half is. The key has been removed again.",
    remedy: "Try again. If it comes back, choose another provider or have this one's software updated."
  },
  "22188107": {
    operation: "request generation",
    happened: "Public key export failed",
    cause: "The key was made, but the provider would not give out its public half. The key has been removed again.",
    remedy: "Try again. If it comes back, choose another provider or have this one's software updated."
  },
  "22188112": {
    operation: "request generation",
    happened: "Key container could not be created",
    cause: "The provider could not make a place for a new key: its name is wrong, the smart card is not in the reader, or the user's key folder cannot be written.",
    remedy: "Choose the provider from the list, insert the card and give its PIN, and see that the user's profile is not full or read-only."
  },
  "22188201": {
    operation: "request generation",
    happened: "No provider chosen, empty subject, or an exception ended the generation",
    cause: "No provider was chosen since the page was opened, or something unexpected ended the making of the request, such as exhausted memory.",
    remedy: "Choose a provider and make the request again. If it comes back, restart the browser."
  },
  "22188202": {
    operation: "request generation",
    happened: "Key length not allowed",
    cause: "The key size is not one of 512, 1024, 2048 and 4096 bits.",
    remedy: "Choose 2048 or 4096 bits."
  },
  "22188203": {
    operation: "request generation",
    happened: "Out of memory in request generation",
    cause: "The computer had no memory left while the request was made.",
    remedy: "Close other programs and make the request again."
  },
  "22188215": {
    operation: "request generation",
    happened: "`genP10_exp_withdn`: empty subject",
    cause: "A request with a name was asked for, but no name was given.",
    remedy: "Fill in at least one of the name fields, or ask for a request without a name."
  },
  "22188218": {
    operation: "request generation",
    happened: "Request text of 4096 bytes or more",
    cause: "The request became too long to hand to the page: very long names together with a large key.",
    remedy: "Shorten the names and make the request again."
  },
  "22188223": {
    operation: "request generation",
    happened: "Base64 encoding failed",
    cause: "The finished request could not be turned into text.",
    remedy: "Make the request again. If it comes back, restart the browser."
  },
  "22188229": {
    operation: "request generation",
    happened: "Subject is not valid UTF-8",
    cause: "The system refused to read the name as UTF-8 text: it is far too long, or the system's text conversion is out of order. Single characters that are badly encoded do not cause this; they are replaced.",
    remedy: "Shorten the names and make the request again. If it comes back, restart the browser."
  },
  "22188308": {
    operation: "request generation",
    happened: "Marker file could not be written",
    cause: "The note of the waiting key could not be written into the user's home folder: the folder is read-only, full, missing, or its path is too long. No key was made.",
    remedy: "Make room or allow writing in the home folder, and make the request again."
  },
  "22198220": {
    operation: "hash choice",
    happened: "Unknown hash name",
    cause: "The page asked for a hash other than MD5 and SHA-1.",
    remedy: "Choose SHA-1 or MD5. The hash protects only the request; the authority chooses the certificate's own."
  },
  "22198221": {
    operation: "hash choice",
    happened: "Empty hash name",
    cause: "The page set the hash without saying which.",
    remedy: "Choose SHA-1 or MD5 and make the request again."
  },
  "22208101": {
    operation: "certificate check",
    happened: "Store could not be opened",
    cause: "The store of authority certificates is locked, damaged, or closed to this user.",
    remedy: "See that the system's own certificate manager opens, restart the browser, and check again."
  },
  "22208113": {
    operation: "certificate check",
    happened: "Certificate could not be parsed",
    cause: "What was given for the check is not a certificate, or it is damaged.",
    remedy: "Give the certificate as base64 text, whole, and check again."
  },
  "22208203": {
    operation: "certificate check",
    happened: "Out of memory",
    cause: "The computer had no memory left for the check.",
    remedy: "Close other programs and check again."
  },
  "22208220": {
    operation: "certificate check",
    happened: "Selector neither \"0\" nor \"1\"",
    cause: "The page asked to look in a place that does not exist.",
    remedy: "Look either in Firefox (0) or in the system's stores (1)."
  },
  "22208221": {
    operation: "certificate check",
    happened: "Empty argument",
    cause: "The place to look in, or the certificate, was left empty.",
    remedy: "Give the certificate's text and choose where to look."
  },
  "22208223": {
    operation: "certificate check",
    happened: "Base64 decoding failed",
    cause: "The certificate text was cut short or altered when it was copied.",
    remedy: "Copy the text again, from its first line to its last, and check again."
  },
  "22208313": {
    operation: "certificate check",
    happened: "Firefox registry key could not be opened",
    cause: "Firefox is not installed for all users of this computer, or may not be looked up by this user. On Linux no Firefox was found.",
    remedy: "Install Firefox, or check in the system's stores."
  },
  "22208314": {
    operation: "certificate check",
    happened: "Firefox registry value could not be read",
    cause: "Firefox's record of its own installation is incomplete, as after an interrupted update. On Linux there is a program that starts Firefox, but it does not lead to Firefox's folder.",
    remedy: "Install Firefox again over the present one, start it once, and check again."
  },
  "22208315": {
    operation: "certificate check",
    happened: "User name could not be read",
    cause: "The system did not tell under which user name it runs, or on Linux which home folder that user has.",
    remedy: "Log out and in again, and check again."
  },
  "22208316": {
    operation: "certificate check",
    happened: "An NSS library could not be loaded",
    cause: "A part of Firefox's cryptography is missing, or is of another kind than this program: 64-bit beside 32-bit on Windows, or the reverse on Linux.",
    remedy: "Install a Firefox of this program's kind, or look the certificate up in Firefox's own certificate manager."
  },
  "22208317": {
    operation: "certificate check",
    happened: "An NSS function could not be found",
    cause: "The installed Firefox is too old or too new: it lacks a function that the check needs.",
    remedy: "Look the certificate up in Firefox's own certificate manager, or in the system's stores."
  },
  "22208318": {
    operation: "certificate check",
    happened: "NSS could not be initialised",
    cause: "Firefox's certificate database could not be opened: the profile is damaged, of a newer kind, or in use.",
    remedy: "Close Firefox and check again; otherwise look in Firefox's own certificate manager."
  },
  "22208319": {
    operation: "certificate check",
    happened: "Certificate could not be decoded by NSS",
    cause: "Firefox could not read what was given as a certificate.",
    remedy: "Give the certificate as base64 text, whole, and check again."
  },
  "22208320": {
    operation: "certificate check",
    happened: "NSS slot or certificate could not be obtained",
    cause: "Firefox's certificate database opened, but its certificates could not be read.",
    remedy: "Close Firefox, start it once so that it repairs its profile, and check again."
  },
  "22208321": {
    operation: "certificate check",
    happened: "Certificate not found",
    cause: "The certificate is not where the check looked. The system check looks among the authorities only, so a user's own certificate is never found there.",
    remedy: "Check an authority's certificate in the system's stores. If the authority should be known here, add its certificate by hand, after comparing its fingerprint with the one it publishes."
  },
  "22208322": {
    operation: "certificate check",
    happened: "Firefox profile list could not be read",
    cause: "This user has no Firefox profile yet, or Firefox keeps it in another place than expected.",
    remedy: "Start Firefox once with this user. If it has been used already, look in Firefox's own certificate manager."
  },
  "22218126": {
    operation: "deletion",
    happened: "`deleteCert`: no such certificate",
    cause: "No certificate with this issuer and serial number, and with a key, is in this user's store: it was deleted already, belongs to another user, or has no private key here. A serial number with an odd count of digits is never found.",
    remedy: "Compare issuer and serial number with the certificate. If it is gone already, there is nothing left to do."
  },
  "22218231": {
    operation: "deletion",
    happened: "Empty issuer",
    cause: "The issuer was left empty.",
    remedy: "Give the issuer's name as it stands in the certificate."
  },
  "22218232": {
    operation: "deletion",
    happened: "Empty serial",
    cause: "The serial number was left empty.",
    remedy: "Give the serial number as it stands in the certificate."
  },
  "22218233": {
    operation: "deletion",
    happened: "Serial text holds a character that is not hexadecimal or a blank",
    cause: "The serial number was copied with colons, dashes or a leading 0x.",
    remedy: "Write only the digits 0 to 9 and the letters A to F; blanks may stand between them."
  },
  "22238126": {
    operation: "pruning",
    happened: "`leavingMostRecentCert`: nothing found",
    cause: "Fewer than two certificates carry this name from this issuer, so there is nothing older to clear out.",
    remedy: "Nothing; the most recent certificate is the only one. If older ones are still shown, compare their names: each part of the certificate's name must be among the parts asked for."
  },
  "22238231": {
    operation: "pruning",
    happened: "Empty subject",
    cause: "The name of the certificates' owner was left empty.",
    remedy: "Give the subject's name as it stands in the certificate."
  },
  "22238234": {
    operation: "pruning",
    happened: "Empty issuer",
    cause: "The issuer was left empty.",
    remedy: "Give the issuer's name as it stands in the certificate."
  }
};
