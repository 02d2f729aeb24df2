;;; The designer's duct commands: a run of ducts drawn by picking points, each leg through kvDuct
;;; so that it takes its row and elevations from the ducts it meets; a fillet of two picked ducts;
;;; and the list from which the designer chooses an elevation where ducts meet at several.

;; An elevation in inches as feet and inches: 123.5 gives 10'-3.5".
(defun duct-ftIn (z / sign feet inches)
  (setq sign (if (< z 0) "-" "")
        z (abs z)
        feet (fix (/ z 12.0))
        inches (- z (* feet 12.0)))
  (strcat sign (itoa feet) "'-" (rtos inches 2 (if (equal inches (fix inches) 1e-9) 0 2)) "\""))

;; Lets the user pick one of ELEVATIONS under PROMPT: the entries are listed from 1 and the
;; user types the number of one. Answers that number (1 for the first entry); nil for Enter, a
;; cancel or a number that names no entry, which the module takes as no choice.
(defun duct-elevationListDialog (elevations prompt none one / i typed n)
  (princ (strcat "\n" prompt))
  (setq i 0)
  (foreach z elevations
    (setq i (1+ i))
    (princ (strcat "\n  " (itoa i) ": " (duct-ftIn z))))
  (setq typed (vl-catch-all-apply 'getstring (list nil "\nNumber of the elevation: ")))
  (if (and (eq (type typed) 'STR) (setq n (atoi typed)) (>= n 1) (<= n (length elevations)))
    n))

;; The next pick, or nil for Enter or a cancel.
(defun duct-nextPick (from prompt / p)
  (setq p (vl-catch-all-apply 'getpoint (if from (list from prompt) (list prompt))))
  (if (listp p) p))

;; Draws a run of ducts by picks: the first pick starts the run, each further pick ends one leg
;; and starts the next, Enter or Esc ends the run. Answers the new ixDucts in order.
(defun c:kv_hvac-drawDucts (/ from to ix made)
  (if (setq from (duct-nextPick nil "\nStart of duct: "))
    (while (setq to (duct-nextPick from "\nEnd of duct: "))
      (if (setq ix (kvDuct from to)) (setq made (cons ix made)))
      (setq from to)))
  (reverse made))

;; The duct under a pick: the first whose window around the point it crosses, or nil. Only what
;; the view shows can be selected, so the view is widened for the search and put back.
(defun duct-atPick (p / ss)
  (command "_.ZOOM" "_V")
  (setq ss (ssget "C" (polar p (* pi 0.25) 2.0) (polar p (* pi 1.25) 2.0) '((0 . "KVDUCT"))))
  (command "_.ZOOM" "_P")
  (if ss (ssname ss 0)))

;; Fillets two ducts picked one after the other: both are trimmed or extended to their meeting
;; point, and a vertical duct joins them when their elevations differ there.
(defun c:kv_hvac-filletDucts (/ p1 d1 p2 d2)
  (cond ((not (setq p1 (duct-nextPick nil "\nFirst duct: "))) nil)
        ((not (setq d1 (duct-atPick p1))) (princ "\nNo duct there.") nil)
        ((not (setq p2 (duct-nextPick nil "\nSecond duct: "))) nil)
        ((not (setq d2 (duct-atPick p2))) (princ "\nNo duct there.") nil)
        (T (kv_hvac-duct-fillet d1 p1 d2 p2) T)))
