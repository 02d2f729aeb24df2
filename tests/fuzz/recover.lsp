;; kvhost --recover DAMAGED recover.lsp: the recovered drawing is current, holds what could be
;; read (the seed's five entities but its text), saves, and opens again with all of it. The
;; script runs in the recovered drawing, which it cannot close: it reopens the saved file after
;; renaming its own drawing.
(defun check (what ok) (if (not ok) (progn (princ (strcat "\nFAILED: " what "\n")) (exit 1))))
(setq recovered (kvhost-current))
(check "the recovered drawing is current" (wcmatch recovered "*damaged_recovered.dwg"))
(check "entities kept" (= (sslength (ssget "X")) 5))
(check "layers kept" (tblsearch "LAYER" "DUCT"))
(check "saved" (kvhost-save))
(check "a second recovery is a second drawing"
       (wcmatch (kvhost-recover (strcat (vl-filename-directory recovered) "/damaged.dwg")) "*damaged_recovered2.dwg"))
(check "what is no drawing is not recovered" (null (kvhost-recover "recover.lsp")))
(kvhost-activate recovered)
(check "renamed" (kvhost-save-as "renamed.dwg"))
(check "reopened" (kvhost-open recovered))
(check "entities after reopening" (= (sslength (ssget "X")) 5))
(check "layers after reopening" (tblsearch "LAYER" "DUCT"))
(princ "\nrecover: ok\n")
