// Reads watch pages that assign the player's object in an inline script. The page's addresses may
// be https, the program fetches http only, so they are rewritten.
var fetchesHttpsAsHttp = true;
